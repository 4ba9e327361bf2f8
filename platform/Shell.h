#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace android::kavel {

/** Time that a command may take before its process group is terminated. */
inline constexpr std::chrono::milliseconds kCommandDeadline = std::chrono::seconds(180);
/** The same for packing, which compresses whatever the other commands produced. */
inline constexpr std::chrono::milliseconds kPackDeadline = std::chrono::seconds(600);
/** The same for a command that a reporting thread waits for: reports queue behind it. */
inline constexpr std::chrono::milliseconds kIntakeDeadline = std::chrono::seconds(10);

/** Maximum size in bytes of a file that a collecting command writes. */
inline constexpr uint64_t kCollectedFileLimit = 512ULL * 1024 * 1024;
inline constexpr uint64_t kNoFileLimit = 0;

/**
 * Runs @p command with `/bin/sh -c` and waits for it, with the contract of system(): returns the
 * wait status, or -1 if the shell could not be started or could not be killed. A shell that cannot
 * be started for want of processes or memory is tried again for five seconds.
 *
 * The command has a process group of its own, only descriptors 0 to 2, and default signals. It has
 * ended when its group is empty: toybox tar does not wait for the gzip that writes its archive. At
 * @p deadline the group gets SIGTERM, and SIGKILL five seconds later; the status and the duration
 * are then logged. A process of the command that writes more than @p fileLimit bytes into one file
 * gets SIGXFSZ. Any thread; several may run commands at once.
 */
int runShell(const std::string& command, std::chrono::milliseconds deadline = kCommandDeadline,
             uint64_t fileLimit = kNoFileLimit);

}  // namespace android::kavel
