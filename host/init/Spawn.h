#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace android::kavel::host {

/** How to start a process. */
struct SpawnPlan {
    std::vector<std::string> args;         ///< program first; searched in PATH if without "/"
    std::vector<std::string> privileges;   ///< options of setpriv(1): user, groups, capabilities
    std::vector<std::string> environment;  ///< NAME=VALUE, in addition to init's own
    std::vector<int> sockets;              ///< descriptors that stay open in the process
    std::string outputFile;                ///< receives stdout and stderr of a service
    /**
     * Runs in the caller's session and on the caller's stdio. A service gets a session of its own
     * and stdin from /dev/null.
     */
    bool foreground = false;
};

/**
 * Starts a process, which ends together with init. The caller's other descriptors must be
 * close-on-exec. Returns its pid, or -1 with errno set. If the program cannot be run, the process
 * ends with status 127 (no such file) or 126, and says why on stderr.
 */
pid_t spawn(const SpawnPlan& plan);

}  // namespace android::kavel::host
