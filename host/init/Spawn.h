#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace android::kavel::host {

/** Whose process a service becomes. */
struct Identity {
    uid_t uid;
    gid_t gid;
    std::vector<gid_t> supplementary;
};

/** All that a new process needs, looked up beforehand: the child makes system calls only. */
struct SpawnPlan {
    std::vector<std::string> args;         ///< program first; searched in PATH if without "/"
    std::vector<std::string> environment;  ///< NAME=VALUE, in addition to init's own
    std::vector<int> sockets;              ///< descriptors to keep over the exec
    std::optional<Identity> identity;      ///< none: stays whoever init is
    std::optional<uint64_t> capabilities;  ///< none: what the identity implies
    /** A service gets a session of its own, stdin from /dev/null, and its output goes here. */
    std::string outputFile;
    /** Runs in the caller's session and on the caller's stdio instead. */
    bool foreground = false;
};

/** Outcome of spawn(). */
struct Spawned {
    pid_t pid = -1;    ///< -1 on failure
    int error = 0;     ///< errno on failure
    std::string step;  ///< what failed, such as "exec"
};

/**
 * Starts a process. Returns once the program runs or has failed to start, so a missing program
 * is known here and not guessed from an exit status. All other descriptors of the caller must
 * be close-on-exec.
 */
Spawned spawn(const SpawnPlan& plan);

}  // namespace android::kavel::host
