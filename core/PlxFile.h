#pragma once

#include <string>

#include <sys/types.h>

namespace android::kavel {

/** Maximum size in bytes of the file of power-key statistics before it is trimmed. */
inline constexpr off_t kMaxPlxFile = off_t{1024} * 1024;

/**
 * If the file at @p path is larger than kMaxPlxFile, reduces it to its newest lines, half of
 * kMaxPlxFile. Replaces the file atomically: if that fails, the file is unchanged and one line is
 * logged. Ignores anything that is not a regular file.
 */
void trimPlxFile(const std::string& path);

}  // namespace android::kavel
