#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace android::kavel {

/**
 * The real user id in the text of /proc/PID/status: the first number of its "Uid:" line. Nothing
 * where there is no such line, or no number in it.
 */
std::optional<int64_t> uidOfStatus(std::string_view status);

/**
 * The command in the text of /proc/PID/cmdline, whose arguments end in NUL: the first argument, up
 * to a space if it has one. Empty for kernel threads and zombies. Part of @p cmdline.
 */
std::string_view commandOfCmdline(std::string_view cmdline);

}  // namespace android::kavel
