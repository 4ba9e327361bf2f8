#pragma once

#include <chrono>
#include <string>

namespace android::kavel {

/** Time that a command may take before its process group is terminated. */
inline constexpr std::chrono::milliseconds kCommandDeadline = std::chrono::seconds(180);
/** The same for packing, which compresses whatever the other commands produced. */
inline constexpr std::chrono::milliseconds kPackDeadline = std::chrono::seconds(600);
/** The same for a command that a reporting thread waits for: reports queue behind it. */
inline constexpr std::chrono::milliseconds kIntakeDeadline = std::chrono::seconds(10);

/**
 * Runs @p command with `/bin/sh -c` and waits for it, with the contract of system(): the wait
 * status comes back, or -1 where the shell could not be started or would not die.
 *
 * The command has a process group of its own and only descriptors 0 to 2. Past @p deadline the
 * group gets SIGTERM, and SIGKILL once its leader has ended, five seconds later at the latest; the
 * status and the duration are then logged.
 * Any thread; several may run commands at once.
 */
int runShell(const std::string& command, std::chrono::milliseconds deadline = kCommandDeadline);

}  // namespace android::kavel
