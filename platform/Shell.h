#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include <sys/wait.h>

namespace android::kavel {

/** Maximum time for a command before its process group is terminated. */
inline constexpr std::chrono::milliseconds kCommandDeadline = std::chrono::seconds(180);
/** The same for packing, which compresses the output of all other commands. */
inline constexpr std::chrono::milliseconds kPackDeadline = std::chrono::seconds(600);
/** The same for a command that a reporting thread waits for: other reports wait as well. */
inline constexpr std::chrono::milliseconds kIntakeDeadline = std::chrono::seconds(10);

/** Maximum size in bytes of a file that a collecting command writes. */
inline constexpr uint64_t kCollectedFileLimit = 512ULL * 1024 * 1024;
inline constexpr uint64_t kNoFileLimit = 0;

/**
 * Runs @p command with `/bin/sh -c` and waits for it. Like system(), returns the wait status, or -1
 * if the shell could not be started or killed. If there are not enough processes or memory to start
 * a shell, retries for five seconds.
 *
 * The command gets its own process group, only descriptors 0 to 2, and default signals. It has
 * ended when its group is empty, because toybox tar does not wait for the gzip that writes its
 * archive. After @p deadline the group gets SIGTERM, and SIGKILL five seconds later; then the
 * status and the duration are logged. A process of the command that writes more than @p fileLimit
 * bytes to one file gets SIGXFSZ; a command with a limit must be one program or pipeline.
 *
 * Any thread; several threads may run commands at once.
 */
int runShell(const std::string& command, std::chrono::milliseconds deadline = kCommandDeadline,
             uint64_t fileLimit = kNoFileLimit);

/**
 * Whether a command with this wait status was not started or did not come to its own end. Shells
 * use exit statuses from 125 for commands that were not run, and from 128 for those that a signal
 * has ended, as at the file size limit (sh(1), xargs(1)).
 */
inline bool wasCutShort(int status) {
    constexpr int kFirstBadExit = 125;
    constexpr int kLastBadExit = 128 + 64;
    if (status == -1 || WIFSIGNALED(status)) return true;
    return WEXITSTATUS(status) >= kFirstBadExit && WEXITSTATUS(status) <= kLastBadExit;
}

}  // namespace android::kavel
