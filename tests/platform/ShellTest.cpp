// Would catch a command that is not counted, or not counted as late or slow; a result that is not a
// wait status, or is that of another thread; a command that inherits a descriptor, or a blocked or
// ignored signal; attributes that Android's C library refuses; a command that is lost because
// processes are short for a moment; a missing shell without a line; a command that counts as ended
// before its children, such as the gzip of toybox tar; one that fills the disk; a deadline that
// ends only the shell, leaves no time to clean up, or is not enforced; a command that forges a log
// line.

#include "platform/Shell.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/CommandStatistics.h"
#include "tests/fake/Eventually.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FastClock.h"
#include "tests/fake/TempDir.h"

// The phone's C library refuses what this one lets pass, and fails where this one does not. The
// linker replaces the calls by these (see CMakeLists.txt).

namespace {

thread_local sigset_t defaultSignals;
std::atomic<short> spawnFlags{0};
std::atomic<int> spawnFailures{0};
std::atomic<bool> isShellGone{false};

}  // namespace

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): names that the linker's --wrap asks for
int __real_posix_spawnattr_setsigdefault(posix_spawnattr_t* attributes, const sigset_t* signals);
int __wrap_posix_spawnattr_setsigdefault(posix_spawnattr_t* attributes, const sigset_t* signals) {
    defaultSignals = *signals;
    return __real_posix_spawnattr_setsigdefault(attributes, signals);
}
int __real_posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const* arguments,
                       char* const* environment);
int __wrap_posix_spawn(pid_t* pid, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const* arguments,
                       char* const* environment) {
    if (spawnFailures > 0) return --spawnFailures % 2 == 0 ? EAGAIN : ENOMEM;
    short flags = 0;
    posix_spawnattr_getflags(attributes, &flags);
    spawnFlags = flags;
    return __real_posix_spawn(pid, path, actions, attributes, arguments, environment);
}
int __real_access(const char* path, int mode);
int __wrap_access(const char* path, int mode) {
    if (!isShellGone) return __real_access(path, mode);
    errno = ENOENT;
    return -1;
}
// NOLINTEND(bugprone-reserved-identifier)
}

namespace android::kavel {
namespace {

using std::chrono::seconds;

class Shell : public testing::Test {
  protected:
    Shell() {
        fake::captureLog();
        fake::clearLog();
    }

    std::string content(const char* name) const { return test::contentOf(folder / name); }

    const test::TempDir folder;
    const std::string inFolder = "cd " + folder / "" + "; ";
};

TEST_F(Shell, StatusIsThatOfSystem) {
    for (const char* const command : {"true", "exit 3", "exit 255", "no_such_command 2>/dev/null",
                                      "kill -9 $$", "kill -15 $$", "", "if", "exec 2>&-; if"}) {
        const std::string quiet = std::string("exec 2>/dev/null\n") + command;
        EXPECT_EQ(runShell(quiet), system(quiet.c_str())) << command;  // NOLINT(cert-env33-c)
    }
    EXPECT_TRUE(fake::logLines().empty());
}

TEST_F(Shell, CommandInheritsNeitherDescriptorsNorSignals) {
    const int high = fcntl(STDERR_FILENO, F_DUPFD, 500);  // without O_CLOEXEC
    ASSERT_GE(high, 500);
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const auto pipe = signal(SIGPIPE, SIG_IGN);
    // Signals 1 to 31; the C library keeps two of the others to itself.
    EXPECT_EQ(runShell(inFolder +
                       "while read -r name mask; do case $name in SigBlk:|SigIgn:) "
                       "echo $((0x$mask & 0x7fffffff));; esac; done </proc/self/status >signals; "
                       "exec ls /proc/self/fd >fds"),
              0);
    signal(SIGPIPE, pipe);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    close(high);
    EXPECT_EQ(content("fds"), "0\n1\n2\n3\n");  // the last is the folder that ls reads
    EXPECT_EQ(content("signals"), "0\n0\n");
    EXPECT_EQ(sigismember(&defaultSignals, SIGPIPE), 1);
    EXPECT_EQ(sigismember(&defaultSignals, SIGKILL), 0);
    EXPECT_EQ(sigismember(&defaultSignals, SIGSTOP), 0);
    EXPECT_NE(spawnFlags & POSIX_SPAWN_USEVFORK, 0);
}

TEST_F(Shell, ShellThatCannotBeStartedIsTriedAgain) {
    // Each attempt has five seconds, in which a busy machine may not come to the fourth start.
    EXPECT_TRUE(test::eventually([] {
        fake::clearLog();
        spawnFailures = 3;
        return runShell("exit 7") == 7 << 8 && fake::logLines().empty();
    }));
    const fake::FastClock clock(10);
    spawnFailures = 1'000'000;
    EXPECT_EQ(runShell("exit 7"), -1);
    EXPECT_EQ(fake::logCount("[dravo_kavel runShell]: no shell, errno "), 1u);
    spawnFailures = 0;
    isShellGone = true;
    EXPECT_EQ(runShell("exit 127"), -1);
    isShellGone = false;
    EXPECT_EQ(fake::logCount("no shell, errno 2: exit 127"), 1u);
}

TEST_F(Shell, CommandEndsWithTheLastProcessOfItsGroup) {
    EXPECT_EQ(runShell(inFolder + "(sleep 0.3; echo late >late) & exit 3"), 3 << 8);
    EXPECT_EQ(content("late"), "late\n");
    EXPECT_TRUE(fake::logLines().empty());
}

TEST_F(Shell, CollectedFileHasALimit) {
    const struct {
        const char* command;
        int status;
    } rows[] = {
            {"head -c 100000 /dev/zero > ", SIGXFSZ},  // its own status: it has replaced the shell
            {"head -c 100000 /dev/zero | cat > ", (128 + SIGXFSZ) << 8},
    };
    for (const auto& row : rows) {
        const std::string write = row.command + folder / "zeros";
        EXPECT_EQ(runShell(write, kCommandDeadline, 65'536), row.status) << row.command;
        EXPECT_EQ(content("zeros").size(), 65'536u);
        EXPECT_EQ(runShell(write), 0);
        EXPECT_EQ(content("zeros").size(), 100'000u);
    }
}

TEST_F(Shell, DeadlineEndsTheWholeGroup) {
    constexpr seconds kGrace(5);
    const struct {
        const char* command;
        int status;
        seconds grace;
    } rows[] = {
            {"sleep 3000 &", 0, seconds(0)},
            {"(trap '' TERM; sleep 3000) & (trap 'echo >tidy' TERM; sleep 3000 & wait) & "
             "trap '' TERM; wait $!; test -f tidy; exit $((4 + $?))",
             4 << 8, seconds(0)},
            {"trap '' TERM; while :; do sleep 3000 & wait; done", SIGKILL, kGrace},
    };
    for (const auto& row : rows) {
        // On a busy machine the signal comes before the trap, or the end of the grace before the
        // command's own: then once more, with longer times.
        int status = -1;
        for (const int speed : {5, 2, 1, 1, 1}) {
            const fake::FastClock clock(speed);
            const seconds deadline(speed == 5 ? 3 : 15);
            std::filesystem::remove(folder / "tidy");
            fake::clearLog();
            const auto begin = std::chrono::steady_clock::now();
            status = runShell(inFolder + "echo $$ >group\n" + row.command, deadline);
            const auto took = std::chrono::steady_clock::now() - begin;
            if (status != row.status) continue;
            EXPECT_GE(took, deadline + row.grace) << row.command;
            break;
        }
        EXPECT_EQ(status, row.status) << row.command;
        const pid_t group = std::stoi(content("group"));
        EXPECT_TRUE(test::eventually([&] { return kill(-group, 0) != 0 && errno == ESRCH; }));
        EXPECT_EQ(fake::logCount("terminated after "), 1u);
        EXPECT_EQ(fake::logCount("status is: " + std::to_string(row.status) + ": " + inFolder +
                                 "echo $$ >group\\x0a" + std::string(row.command).substr(0, 9)),
                  1u);
    }
}

TEST_F(Shell, StatisticsHaveTheSlowestAndWhatRuns) {
    CommandStatistics& statistics = CommandStatistics::instance();
    const CommandStatus before = statistics.status();
    const std::string command = "until [ -e " + folder / "seen" + " ]; do sleep 0.01; done";
    std::thread shown([&] { runShell(command); });
    EXPECT_TRUE(test::eventually([&] {
        const auto running = statistics.status().running;
        return running.size() == 1 && running[0].command == command;
    }));
    folder.write("seen", "");
    shown.join();
    for (size_t i = 0; i < 2 * CommandStatistics::kSlowest; ++i) runShell("exit 1\n");
    {
        const fake::FastClock clock(5);
        runShell("sleep 3000; : slowest", seconds(2));
    }
    const CommandStatus after = statistics.status();
    EXPECT_EQ(after.run - before.run, 2 * CommandStatistics::kSlowest + 2);
    EXPECT_EQ(after.failed - before.failed, 2 * CommandStatistics::kSlowest + 1);
    EXPECT_EQ(after.late - before.late, 1U);
    EXPECT_TRUE(after.running.empty());
    ASSERT_EQ(after.slowest.size(), CommandStatistics::kSlowest);
    for (size_t i = 1; i < after.slowest.size(); ++i) {
        EXPECT_GE(after.slowest[i - 1].took, after.slowest[i].took);
    }
    EXPECT_GE(after.slowest[0].took, seconds(2));
}

TEST_F(Shell, ManyThreadsGetTheirOwnStatus) {
    std::vector<std::thread> threads;
    std::array<int, 8> wrong = {};
    for (size_t i = 0; i < wrong.size(); ++i) {
        threads.emplace_back([i, &wrong] {
            for (int code = static_cast<int>(i); code < 200; code += 8) {
                const int status = runShell("exit " + std::to_string(code));
                if (!WIFEXITED(status) || WEXITSTATUS(status) != code) ++wrong[i];
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, (std::array<int, 8>{}));
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child was left unreaped";
}

}  // namespace
}  // namespace android::kavel
