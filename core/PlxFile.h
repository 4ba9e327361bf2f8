#pragma once

#include <string>

#include <sys/types.h>

namespace android::kavel {

/** Size in bytes from which on the file of power-key statistics is trimmed. */
inline constexpr off_t kMaxPlxFile = off_t{1024} * 1024;

/**
 * Cuts the file at @p path down to its newest lines, half of kMaxPlxFile of them, if it is larger
 * than kMaxPlxFile. The file is replaced in one step: a failure leaves it as it was and gets one
 * line. Anything but a regular file is left alone.
 */
void trimPlxFile(const std::string& path);

}  // namespace android::kavel
