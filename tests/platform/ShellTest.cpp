#include "platform/Shell.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/fake/Eventually.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/TempDir.h"

namespace android::kavel {
namespace {

using std::chrono::milliseconds;

class Shell : public testing::Test {
  protected:
    void SetUp() override {
        prctl(PR_SET_CHILD_SUBREAPER, 1);
        fake::captureLog();
        fake::clearLog();
    }

    std::string file(const char* name) const { return mFolder / name; }
    std::string content(const char* name) const { return test::contentOf(file(name)); }

  private:
    const test::TempDir mFolder;
};

/** Waits until no process of @p group is left; orphans are ours to reap. */
bool groupEnds(pid_t group) {
    return test::eventually([&] { return waitpid(-group, nullptr, WNOHANG) < 0; }) &&
           errno == ECHILD;
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

// Would catch a deadline that is for the shell alone: a child that is not asked to end, and could
// tidy up, or one that refuses and runs on for ever.
TEST_F(Shell, DeadlineEndsTheWholeGroup) {
    const int status = runShell(
            "echo $$ >" + file("group") + "; (trap '' TERM; sleep 300) & (trap 'echo tidy >" +
                    file("tidy") + "' TERM; sleep 300 & wait) & trap '' TERM; wait $!; exit 4",
            milliseconds(500));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 4) << status;
    EXPECT_EQ(content("tidy"), "tidy\n");
    EXPECT_TRUE(groupEnds(std::stoi(content("group"))));
    EXPECT_EQ(fake::logCount("terminated after "), 1u);
    EXPECT_EQ(fake::logCount("status is: 1024: echo $$ >"), 1u);
}

// Would catch a command that is asked to end but never made to.
TEST_F(Shell, CommandThatIgnoresTerminationIsKilled) {
    const int status = runShell(
            "trap '' TERM; echo $$ >" + file("group") + "; while :; do sleep 300 & wait; done",
            milliseconds(300));
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
