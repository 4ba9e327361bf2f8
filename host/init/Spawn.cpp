#include "host/init/Spawn.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace android::kavel::host {
namespace {

/** Returns an argument array for exec functions; valid as long as @p texts. */
std::vector<char*> pointers(std::vector<std::string>* texts) {
    std::vector<char*> result;
    for (std::string& text : *texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

}  // namespace

pid_t spawn(const SpawnPlan& plan) {
    // --pdeathsig: in the machine's PID namespace, services would outlive init.
    std::vector<std::string> args{"/usr/bin/setpriv", "--pdeathsig", "KILL"};
    args.insert(args.end(), plan.privileges.begin(), plan.privileges.end());
    args.emplace_back("--");
    args.insert(args.end(), plan.args.begin(), plan.args.end());
    std::vector<std::string> environment = plan.environment;
    for (char** entry = environ; *entry != nullptr; ++entry) environment.emplace_back(*entry);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (!plan.foreground) {
        constexpr int kAppend = O_WRONLY | O_APPEND | O_CREAT;
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, plan.outputFile.c_str(), kAppend,
                                         0644);
        posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    }
    // Duplicating a descriptor onto itself clears its close-on-exec flag.
    for (const int fd : plan.sockets) posix_spawn_file_actions_adddup2(&actions, fd, fd);

    // The process must not inherit the signals that init blocks, or that init or its caller
    // ignores.
    sigset_t none;
    sigemptyset(&none);
    sigset_t reset = none;
    for (const int number : {SIGPIPE, SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGCHLD}) {
        sigaddset(&reset, number);
    }
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &reset);
    posix_spawnattr_setflags(&attributes,
                             static_cast<short>(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                                (plan.foreground ? 0 : POSIX_SPAWN_SETSID)));
    pid_t pid = -1;
    const int error = posix_spawn(&pid, args[0].c_str(), &actions, &attributes,
                                  pointers(&args).data(), pointers(&environment).data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    errno = error;
    return error == 0 ? pid : -1;
}

}  // namespace android::kavel::host
