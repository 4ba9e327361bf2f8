#include "platform/Shell.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

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

using std::chrono::milliseconds;
using std::chrono::seconds;

class Shell : public testing::Test {
  protected:
    void SetUp() override {
        fake::captureLog();
        fake::clearLog();
    }

    std::string file(const char* name) const { return mFolder / name; }
    std::string content(const char* name) const { return test::contentOf(file(name)); }

  private:
    const test::TempDir mFolder;
};

/** Waits until no process of @p group is left. */
bool groupEnds(pid_t group) {
    return test::eventually([&] { return kill(-group, 0) != 0 && errno == ESRCH; });
}

// Would catch a result that is not a wait status.
TEST_F(Shell, StatusIsThatOfSystem) {
    for (const char* const command : {"true", "exit 3", "exit 255", "no_such_command 2>/dev/null",
                                      "kill -9 $$", "kill -15 $$", "", "if", "exec 2>&-; if"}) {
        const std::string quiet = std::string("exec 2>/dev/null\n") + command;
        EXPECT_EQ(runShell(quiet), system(quiet.c_str())) << command;  // NOLINT(cert-env33-c)
    }
    EXPECT_TRUE(fake::logLines().empty());
}

// Would catch a descriptor of the daemon, a socket above all, in the hands of a command.
TEST_F(Shell, NothingAboveDescriptorTwoIsInherited) {
    const int open = ::open("/dev/null", O_RDONLY);  // without O_CLOEXEC
    const int high = fcntl(open, F_DUPFD, 500);
    ASSERT_GE(high, 500);
    EXPECT_EQ(runShell("exec ls /proc/self/fd >" + file("fds")), 0);
    close(open);
    close(high);
    EXPECT_EQ(content("fds"), "0\n1\n2\n3\n");  // the last is the folder that ls reads
}

// Would catch attributes that Android's C library refuses, which ends every command with 127, and a
// command that inherits a signal that this process blocks or ignores.
TEST_F(Shell, CommandStartsWithCleanSignals) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    const auto pipe = signal(SIGPIPE, SIG_IGN);
    // Signals 1 to 31; the C library keeps two of the others to itself.
    EXPECT_EQ(runShell("while read -r name mask; do case $name in SigBlk:|SigIgn:) "
                       "echo $((0x$mask & 0x7fffffff));; esac; done </proc/self/status >" +
                       file("signals")),
              0);
    signal(SIGPIPE, pipe);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    EXPECT_EQ(content("signals"), "0\n0\n");
    EXPECT_EQ(sigismember(&defaultSignals, SIGPIPE), 1);
    EXPECT_EQ(sigismember(&defaultSignals, SIGKILL), 0);
    EXPECT_EQ(sigismember(&defaultSignals, SIGSTOP), 0);
    EXPECT_NE(spawnFlags & POSIX_SPAWN_USEVFORK, 0);
}

// Would catch a catch that is lost because the phone is out of processes for a moment.
TEST_F(Shell, ShellThatCannotBeStartedIsTriedAgain) {
    const fake::FastClock clock(10);
    spawnFailures = 3;
    EXPECT_EQ(runShell("exit 7"), 7 << 8);
    EXPECT_TRUE(fake::logLines().empty());
    spawnFailures = 1'000'000;
    EXPECT_EQ(runShell("exit 7"), -1);
    EXPECT_EQ(fake::logCount("[dravo_kavel runShell]: no shell, errno "), 1u);
    spawnFailures = 0;
}

// Would catch a phone without a shell, where the C library starts a child that ends with 127, and
// no line says why.
TEST_F(Shell, MissingShellHasItsLine) {
    isShellGone = true;
    EXPECT_EQ(runShell("exit 127"), -1);
    isShellGone = false;
    EXPECT_EQ(fake::logCount("no shell, errno 2: exit 127"), 1u);
}

// Would catch a command that counts as ended while a child of it, like the gzip of toybox tar,
// still writes.
TEST_F(Shell, CommandEndsWithTheLastProcessOfItsGroup) {
    EXPECT_EQ(runShell("(sleep 0.3; echo late >" + file("late") + ") & exit 3"), 3 << 8);
    EXPECT_EQ(content("late"), "late\n");
    EXPECT_TRUE(fake::logLines().empty());
}

// Would catch a child that is left behind on purpose and holds a pool thread for ever, and a
// command that forges a line of the log.
TEST_F(Shell, DeadlineEndsAChildThatOutlivesItsShell) {
    EXPECT_EQ(runShell("sleep 300 &\necho $$ >" + file("group"), milliseconds(300)), 0);
    EXPECT_TRUE(groupEnds(std::stoi(content("group"))));
    EXPECT_EQ(fake::logCount("status is: 0: sleep 300 &\\x0aecho"), 1u);
}

// Would catch a command that fills the disk, and a limit for commands that have none.
TEST_F(Shell, CollectedFileHasALimit) {
    const std::string write = "head -c 100000 /dev/zero >" + file("zeros") + "; echo $?";
    EXPECT_EQ(runShell(write + " >" + file("status"), kCommandDeadline, 65'536), 0);
    EXPECT_EQ(content("zeros").size(), 65'536u);
    EXPECT_EQ(content("status"), std::to_string(128 + SIGXFSZ) + "\n");
    EXPECT_EQ(runShell(write + " >" + file("status")), 0);
    EXPECT_EQ(content("zeros").size(), 100'000u);
}

// Would catch a deadline that is for the shell alone: a child that is not asked to end, and could
// tidy up, or one that refuses and runs on for ever.
TEST_F(Shell, DeadlineEndsTheWholeGroup) {
    const fake::FastClock clock(5);
    const int status = runShell(
            "echo $$ >" + file("group") + "; (trap '' TERM; sleep 300) & (trap 'echo tidy >" +
                    file("tidy") + "' TERM; sleep 300 & wait) & trap '' TERM; wait $!; exit 4",
            seconds(3));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 4) << status;
    EXPECT_EQ(content("tidy"), "tidy\n");
    EXPECT_TRUE(groupEnds(std::stoi(content("group"))));
    EXPECT_EQ(fake::logCount("terminated after "), 1u);
    EXPECT_EQ(fake::logCount("status is: 1024: echo $$ >"), 1u);
}

// Would catch a command that is asked to end but never made to, or has no time to tidy up.
TEST_F(Shell, CommandThatIgnoresTerminationIsKilled) {
    const fake::FastClock clock(5);
    const auto begin = std::chrono::steady_clock::now();
    const int status = runShell(
            "trap '' TERM; echo $$ >" + file("group") + "; while :; do sleep 300 & wait; done",
            seconds(2));
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(took, seconds(7));
    EXPECT_LT(took, seconds(40));
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
    EXPECT_TRUE(groupEnds(std::stoi(content("group"))));
    EXPECT_EQ(fake::logCount("status is: 9: trap"), 1u);
}

// Would catch a wait that takes another thread's child.
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
