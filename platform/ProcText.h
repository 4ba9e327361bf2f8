#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace android::kavel {

/**
 * Returns the real user id from the text of /proc/PID/status: the first number of its "Uid:" line.
 * Returns nullopt if there is no such line or number.
 */
std::optional<int64_t> uidOfStatus(std::string_view status);

/**
 * Returns the command from the text of /proc/PID/cmdline, whose arguments end in NUL: the first
 * argument, up to its first space. Empty for kernel threads and zombies. The result points into @p
 * cmdline.
 */
std::string_view commandOfCmdline(std::string_view cmdline);

}  // namespace android::kavel
