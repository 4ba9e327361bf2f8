#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace android::kavel::host {

/** Parameters of spawn(). */
struct SpawnPlan {
    std::vector<std::string> args;         ///< program first; searched in PATH if without "/"
    std::vector<std::string> privileges;   ///< options of setpriv(1): user, groups, capabilities
    std::vector<std::string> environment;  ///< NAME=VALUE, in addition to init's own
    std::vector<int> sockets;              ///< descriptors that stay open in the process
    std::string outputFile;                ///< receives stdout and stderr of a service
    /**
     * The process uses the caller's session and stdio. If false, it gets its own session, and stdin
     * from /dev/null.
     */
    bool foreground = false;
};

/**
 * Starts a process, which is killed when init ends. The caller's other descriptors must be
 * close-on-exec. Returns the process id, or -1 with errno set. If the program cannot be run, the
 * process ends with status 127 (no such file) or 126 and an error message on stderr.
 */
pid_t spawn(const SpawnPlan& plan);

}  // namespace android::kavel::host
