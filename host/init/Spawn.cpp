#include "host/init/Spawn.h"

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <grp.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

namespace android::kavel::host {
namespace {

/** What the child tells its parent when a step fails; nothing is written on success. */
struct Failure {
    int error;
    char step[28];
};

/** The steps of the new process. Each returns a name where it failed, null where it worked. */
class Child {
  public:
    Child(const SpawnPlan& plan, char* const* argv, char* const* envp)
          : mPlan(plan), mArgv(argv), mEnvp(envp) {}

    /** Returns only on failure, with the name of the failed step and errno. */
    const char* become() const {
        if (!resetSignals()) return "signals";
        if (!mPlan.foreground && setsid() < 0) return "setsid";
        if (!mPlan.foreground && !redirectStdio()) return "stdio";
        for (const int fd : mPlan.sockets) {
            if (fcntl(fd, F_SETFD, 0) < 0) return "socket";
        }
        if (mPlan.capabilities && !limitBoundingSet()) return "capability bounds";
        if (mPlan.identity && !takeIdentity()) return "user and group";
        if (mPlan.capabilities && !takeCapabilities()) return "capabilities";
        // Where init is not the first process, its end would not be everybody's.
        if (prctl(PR_SET_PDEATHSIG, SIGKILL) < 0) return "death signal";
        execvpe(mArgv[0], mArgv, mEnvp);
        return "exec";
    }

  private:
    static bool resetSignals() {
        // init blocks and ignores some; a service starts with a clean slate.
        for (const int number : {SIGPIPE, SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGCHLD}) {
            if (signal(number, SIG_DFL) == SIG_ERR) return false;
        }
        sigset_t none;
        sigemptyset(&none);
        return sigprocmask(SIG_SETMASK, &none, nullptr) == 0;
    }

    bool redirectStdio() const {
        const int in = open("/dev/null", O_RDONLY);
        const int out = open(mPlan.outputFile.c_str(), O_WRONLY | O_APPEND | O_CREAT, 0644);
        const bool redirected = in >= 0 && out >= 0 && dup2(in, STDIN_FILENO) >= 0 &&
                                dup2(out, STDOUT_FILENO) >= 0 && dup2(out, STDERR_FILENO) >= 0;
        for (const int fd : {in, out}) {
            if (fd > STDERR_FILENO) close(fd);
        }
        return redirected;
    }

    bool limitBoundingSet() const {
        for (int number = 0; number < 64; ++number) {
            const bool kept = (*mPlan.capabilities >> number & 1U) != 0;
            const int present = prctl(PR_CAPBSET_READ, number, 0, 0, 0);
            if (present < 0) break;  // past the last capability that this kernel knows
            if (kept || present == 0) continue;
            if (prctl(PR_CAPBSET_DROP, number, 0, 0, 0) < 0) return false;
        }
        return true;
    }

    bool takeIdentity() const {
        const Identity& who = *mPlan.identity;
        // Otherwise leaving root would clear the capabilities that are to be kept.
        if (mPlan.capabilities && prctl(PR_SET_KEEPCAPS, 1, 0, 0, 0) < 0) return false;
        return setgroups(who.supplementary.size(), who.supplementary.data()) == 0 &&
               setresgid(who.gid, who.gid, who.gid) == 0 &&
               setresuid(who.uid, who.uid, who.uid) == 0;
    }

    bool takeCapabilities() const {
        const uint64_t mask = *mPlan.capabilities;
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> data{};
        for (size_t i = 0; i < data.size(); ++i) {
            const auto word = static_cast<uint32_t>(mask >> (32 * i) & 0xFFFFFFFFU);
            data[i] = {word, word, word};
        }
        if (syscall(SYS_capset, &header, data.data()) < 0) return false;
        // Ambient capabilities are the ones that survive the exec of an ordinary program.
        for (unsigned long number = 0; number < 64; ++number) {
            const bool kept = (mask >> number & 1U) != 0;
            if (kept && prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, number, 0, 0) < 0) return false;
        }
        return true;
    }

    const SpawnPlan& mPlan;
    char* const* mArgv;
    char* const* mEnvp;
};

std::vector<char*> pointers(const std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (const auto& text : texts) result.push_back(const_cast<char*>(text.c_str()));  // NOLINT
    result.push_back(nullptr);
    return result;
}

std::vector<std::string> mergedEnvironment(const std::vector<std::string>& added) {
    std::vector<std::string> merged;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string_view name(*entry, strcspn(*entry, "=") + 1);
        bool replaced = false;
        for (const auto& one : added) replaced |= one.compare(0, name.size(), name) == 0;
        if (!replaced) merged.emplace_back(*entry);
    }
    merged.insert(merged.end(), added.begin(), added.end());
    return merged;
}

}  // namespace

Spawned spawn(const SpawnPlan& plan) {
    const auto environment = mergedEnvironment(plan.environment);
    const auto argv = pointers(plan.args);
    const auto envp = pointers(environment);
    base::unique_fd report;
    base::unique_fd reportEnd;
    if (!base::Pipe(&report, &reportEnd)) return {-1, errno, "pipe"};

    const pid_t pid = fork();
    if (pid < 0) return {-1, errno, "fork"};
    if (pid == 0) {
        const char* step = Child(plan, argv.data(), envp.data()).become();
        Failure failure{errno, {}};
        strncpy(failure.step, step, sizeof(failure.step) - 1);
        static_cast<void>(TEMP_FAILURE_RETRY(write(reportEnd.get(), &failure, sizeof(failure))));
        _exit(127);
    }
    reportEnd.reset();
    Failure failure{};
    const ssize_t got = TEMP_FAILURE_RETRY(read(report.get(), &failure, sizeof(failure)));
    if (got != static_cast<ssize_t>(sizeof(failure))) return {pid, 0, {}};
    static_cast<void>(TEMP_FAILURE_RETRY(waitpid(pid, nullptr, 0)));
    return {-1, failure.error, failure.step};
}

}  // namespace android::kavel::host
