#include "platform/Shell.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <vector>

#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <log/log.h>

#include "platform/CommandStatistics.h"
#include "platform/KavelPrint.h"
#include "platform/Mutex.h"
#include "platform/OneLine.h"

// The headers of some builds are older than these. Numbers from the generic system call table
// (asm-generic/unistd.h), the same on arm64 and x86-64; flag from linux/close_range.h.
#ifndef SYS_pidfd_open
#define SYS_pidfd_open 434
#endif
#ifndef SYS_close_range
#define SYS_close_range 436
#endif
#ifndef CLOSE_RANGE_CLOEXEC
#define CLOSE_RANGE_CLOEXEC (1U << 2)
#endif
// Makes Android's C library use vfork(), so that the call returns after exec or its failure. Other
// C libraries always do.
#ifndef POSIX_SPAWN_USEVFORK
#define POSIX_SPAWN_USEVFORK 0
#endif

namespace android::kavel {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr const char* kShell = "/bin/sh";
constexpr milliseconds kGrace = std::chrono::seconds(5);
/** Time for which a failed start of the shell is retried. */
constexpr milliseconds kStartPatience = std::chrono::seconds(5);
constexpr milliseconds kStartPause(100);
constexpr int kNotFound = 127;        // exit status of a child if exec failed (posix_spawn(3))
constexpr uint64_t kFileBlock = 512;  // unit in bytes of the shell's `ulimit -f` (POSIX)

void pause(milliseconds time) {
    poll(nullptr, 0, static_cast<int>(time.count()));
}

/** Starts the shell in its own process group. Returns its pid, or -1 with errno set. */
pid_t spawnShell(const std::string& command) {
    // A command must not inherit descriptors of this process. They are marked here instead of
    // closed in the child, because posix_spawn() has no portable action for that. Kernels before
    // 5.11 do not support the flag; then only O_CLOEXEC protects each descriptor.
    syscall(SYS_close_range, 3, ~0U, CLOSE_RANGE_CLOEXEC);

    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigset_t defaults;
    sigemptyset(&none);
    sigfillset(&defaults);
    // These two cannot be set, and Android's C library ends the child if setting one fails.
    sigdelset(&defaults, SIGKILL);
    sigdelset(&defaults, SIGSTOP);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK |
                                                  POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_USEVFORK);

    std::string shell = "sh";
    std::string option = "-c";
    std::string text = command;
    char* const argv[] = {shell.data(), option.data(), text.data(), nullptr};
    pid_t pid = -1;
    const int error = posix_spawn(&pid, kShell, nullptr, &attributes, argv, environ);
    posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        errno = error;
        return -1;
    }
    // The child does this too, but some C libraries return before it has. The group is needed for
    // the deadline. The call fails after the exec, but then the group is already set.
    setpgid(pid, pid);
    return pid;
}

/** Starts the shell. Retries for a while if there are not enough processes or memory. */
pid_t startShell(const std::string& command) {
    const Clock::time_point end = Clock::now() + kStartPatience;
    pid_t pid = spawnShell(command);
    while (pid < 0 && (errno == EAGAIN || errno == ENOMEM) && Clock::now() < end) {
        pause(kStartPause);
        pid = spawnShell(command);
    }
    return pid;
}

/**
 * Whether the child @p pid has ended. It stays a zombie, so its pid and group id are not reused.
 */
bool hasEnded(pid_t pid) {
    siginfo_t info = {};
    return waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           info.si_pid != 0;
}

/** Whether the group has no process left. The leader must be reaped before: a zombie counts. */
bool isEmptyGroup(pid_t group) {
    return kill(-group, 0) != 0 && errno == ESRCH;
}

/**
 * A started command: its shell, which is our child and leads the group, and the rest of the group.
 */
class Command {
  public:
    explicit Command(pid_t pid)
          : mPid(pid), mPidfd(static_cast<int>(syscall(SYS_pidfd_open, pid, 0))) {}

    /** Waits until the whole group has ended. Returns false at @p deadline. */
    bool waitUntilEnded(Clock::time_point deadline) {
        milliseconds nap(1);
        while (!isOver()) {
            const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
            if (left <= milliseconds(0)) return false;
            // Only the end of the shell can be waited for, and only on kernels with pidfds (5.3).
            // In other cases, sleep briefly and check again.
            const bool canWait = !mIsReaped && mPidfd.ok();
            pollfd ended = {canWait ? mPidfd.get() : -1, POLLIN, 0};
            poll(&ended, 1, static_cast<int>((canWait ? left : std::min(left, nap)).count()));
            nap = std::min(nap * 2, milliseconds(50));
        }
        return true;
    }

    void signalGroup(int signal) const { kill(-mPid, signal); }
    bool isReaped() const { return mIsReaped; }
    /** Wait status of the shell; -1 until it is reaped. */
    int status() const { return mStatus; }

  private:
    bool isOver() {
        if (!mIsReaped && hasEnded(mPid)) reap();
        return mIsReaped && isEmptyGroup(mPid);
    }
    void reap() {
        mIsReaped = true;
        while (waitpid(mPid, &mStatus, 0) < 0) {
            if (errno == EINTR) continue;
            mStatus = -1;
            return;
        }
    }

    const pid_t mPid;
    const base::unique_fd mPidfd;
    bool mIsReaped = false;
    int mStatus = -1;
};

/** Children that did not end after SIGKILL. Later calls reap them when they have ended. */
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

bool isShellMissing(int status) {
    return WIFEXITED(status) && WEXITSTATUS(status) == kNotFound && access(kShell, X_OK) != 0;
}

void logNoShell(int error, const std::string& command) {
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_ERROR, "[dravo_kavel runShell]: no shell, errno %d: %s",
                error, oneLine(command).c_str());
}

/** Runs the command. Sets @p isLate if it was terminated after the deadline. */
int runCommand(const std::string& command, milliseconds deadline, uint64_t fileLimit,
               bool* isLate) {
    abandonedChildren().reap();
    const Clock::time_point start = Clock::now();
    // With exec, the command replaces the shell, which would otherwise start a second process for
    // it.
    const pid_t pid = startShell(fileLimit == kNoFileLimit
                                         ? command
                                         : "ulimit -f " + std::to_string(fileLimit / kFileBlock) +
                                                   " 2>/dev/null; exec " + command);
    if (pid < 0) {
        logNoShell(errno, command);
        return -1;
    }
    Command running(pid);
    if (running.waitUntilEnded(start + deadline)) {
        if (!isShellMissing(running.status())) return running.status();
        logNoShell(ENOENT, command);
        return -1;
    }

    *isLate = true;
    running.signalGroup(SIGTERM);
    if (!running.waitUntilEnded(Clock::now() + kGrace)) {
        running.signalGroup(SIGKILL);
        running.waitUntilEnded(Clock::now() + kGrace);
    }
    if (!running.isReaped()) abandonedChildren().add(pid);
    const auto took = std::chrono::duration_cast<milliseconds>(Clock::now() - start);
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_ERROR,
                "[dravo_kavel runShell]: terminated after %lld ms, status is: %d: %s",
                static_cast<long long>(took.count()), running.status(), oneLine(command).c_str());
    return running.status();
}

}  // namespace

int runShell(const std::string& command, milliseconds deadline, uint64_t fileLimit) {
    CommandStatistics& statistics = CommandStatistics::instance();
    const CommandStatistics::Ticket ticket = statistics.begin(command);
    bool isLate = false;
    const int status = runCommand(command, deadline, fileLimit, &isLate);
    statistics.end(ticket, status, isLate);
    return status;
}

}  // namespace android::kavel
