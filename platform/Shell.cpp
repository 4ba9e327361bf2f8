#include "platform/Shell.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <vector>

#include <linux/close_range.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <log/log.h>

#include "platform/KavelPrint.h"
#include "platform/Mutex.h"

namespace android::kavel {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kGrace = std::chrono::seconds(5);

/** Starts the shell in a process group of its own. The child's pid, or -1 with errno set. */
pid_t spawnShell(const std::string& command) {
    // Nothing that this process has open may reach a command. Marking the descriptors here, rather
    // than closing them in the child, needs no help from posix_spawn; kernels before 5.11 refuse,
    // and then the O_CLOEXEC at each opening has to do.
    syscall(SYS_close_range, 3, ~0U, CLOSE_RANGE_CLOEXEC);

    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(
            &attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    std::string shell = "sh";
    std::string option = "-c";
    std::string text = command;
    char* const argv[] = {shell.data(), option.data(), text.data(), nullptr};
    pid_t pid = -1;
    const int error = posix_spawn(&pid, "/bin/sh", nullptr, &attributes, argv, environ);
    posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        errno = error;
        return -1;
    }
    return pid;
}

/** True once @p pid, a child, has ended; it stays a zombie, so its group id stays its own. */
bool hasEnded(pid_t pid) {
    siginfo_t info = {};
    return waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           info.si_pid != 0;
}

/** Waits until the child has ended or @p deadline has come. False for the latter. */
bool waitUntilEnded(pid_t pid, int pidfd, Clock::time_point deadline) {
    milliseconds nap(1);
    while (!hasEnded(pid)) {
        const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
        if (left <= milliseconds(0)) return false;
        // Without pidfds (kernels before 5.3) look again after a nap.
        const milliseconds pause = pidfd >= 0 ? left : std::min(left, nap);
        pollfd ended = {pidfd, POLLIN, 0};
        poll(&ended, 1, static_cast<int>(pause.count()));
        nap = std::min(nap * 2, milliseconds(50));
    }
    return true;
}

/** Children that not even SIGKILL could end; collected by later calls once the kernel lets go. */
class AbandonedChildren {
  public:
    void add(pid_t pid) {
        MutexLock lock(mLock);
        mPids.push_back(pid);
    }
    void reap() {
        MutexLock lock(mLock);
        mPids.erase(std::remove_if(mPids.begin(), mPids.end(),
                                   [](pid_t pid) { return waitpid(pid, nullptr, WNOHANG) != 0; }),
                    mPids.end());
    }

  private:
    Mutex mLock;
    std::vector<pid_t> mPids GUARDED_BY(mLock);
};

AbandonedChildren& abandonedChildren() {
    static auto* children = new AbandonedChildren;
    return *children;
}

int reap(pid_t pid) {
    int status = -1;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) return -1;
    }
    return status;
}

}  // namespace

int runShell(const std::string& command, milliseconds deadline) {
    abandonedChildren().reap();
    const Clock::time_point start = Clock::now();
    const pid_t pid = spawnShell(command);
    if (pid < 0) {
        kavel_print(LOG_ID_MAIN, ANDROID_LOG_ERROR,
                    "[dravo_kavel runShell]: no shell, errno %d: %s", errno, command.c_str());
        return -1;
    }
    const base::unique_fd pidfd(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
    if (waitUntilEnded(pid, pidfd, start + deadline)) return reap(pid);

    kill(-pid, SIGTERM);
    waitUntilEnded(pid, pidfd, Clock::now() + kGrace);
    // The leader may be gone while others of its group are not.
    kill(-pid, SIGKILL);
    int status = -1;
    if (waitUntilEnded(pid, pidfd, Clock::now() + kGrace)) {
        status = reap(pid);
    } else {
        abandonedChildren().add(pid);
    }
    const auto took = std::chrono::duration_cast<milliseconds>(Clock::now() - start);
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_ERROR,
                "[dravo_kavel runShell]: terminated after %lld ms, status is: %d: %s",
                static_cast<long long>(took.count()), status, command.c_str());
    return status;
}

}  // namespace android::kavel
