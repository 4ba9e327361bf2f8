// Init as a whole, on a small phone in a temporary folder.

#include "host/init/Init.h"

#include <android-base/file.h>
#include <android-base/strings.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>

#include "host/init/Accounts.h"
#include "host/init/Processes.h"
#include "tests/fake/Eventually.h"

namespace android::kavel::host {
namespace {

constexpr int kTimedOut = -1;
constexpr uid_t kOrdinaryUser = 54321;

class InitTest : public testing::Test {
  protected:
    void SetUp() override {
        for (const char* name : {"rc", "socket", "services", "properties", "log", "out"}) {
            ASSERT_EQ(mkdir(path(name).c_str(), 0777), 0);
            ASSERT_EQ(chmod(path(name).c_str(), 0777), 0);
        }
        ASSERT_EQ(chmod(mDir.path, 0755), 0);
        setenv("KAVEL_HOST_PROPERTY_DIR", path("properties").c_str(), 1);
        setenv("KAVEL_HOST_PROPERTY_SOCKET", path("socket/property_service").c_str(), 1);
        setenv("OUT", path("out").c_str(), 1);
        setenv("SETPROP", KAVEL_SETPROP, 1);
        setenv("GETPROP", KAVEL_GETPROP, 1);
        file("build.prop", "ro.test=1\n");
    }

    std::string path(const std::string& name) const { return std::string(mDir.path) + "/" + name; }
    void file(const std::string& name, const std::string& text) const {
        ASSERT_TRUE(base::WriteStringToFile(text, path(name)));
    }
    std::string read(const std::string& name) const {
        std::string text;
        base::ReadFileToString(path(name), &text);
        return text;
    }

    /** Boots in a process of its own. */
    void boot(const std::string& rc, std::vector<std::string> command, bool ordinary = false) {
        file("rc/test.rc", rc + "\non boot\n    setprop sys.boot_completed 1\n");
        mPid = fork();
        ASSERT_GE(mPid, 0);
        if (mPid != 0) return;
        if (ordinary && geteuid() == 0 && setresuid(kOrdinaryUser, kOrdinaryUser, kOrdinaryUser)) {
            _exit(99);
        }
        dup2(open(path("log/stderr").c_str(), O_WRONLY | O_APPEND | O_CREAT, 0666), STDERR_FILENO);
        InitSettings settings;
        settings.rcDirectory = path("rc");
        settings.propertyFile = path("build.prop");
        settings.command = std::move(command);
        settings.endGrace = std::chrono::milliseconds(300);
        settings.services.socketDirectory = path("socket");
        settings.services.outputFile = path("log/stdio");
        settings.services.scriptDirectory = path("services");
        settings.services.switchUsers = canSwitchUsers();
        settings.services.timeScale = 20;
        closeInheritedDescriptors();
        _exit(Init(std::move(settings)).run());
    }
    void bootShell(const std::string& rc, const std::string& shell) {
        boot(rc, {"/bin/sh", "-c", shell});
    }

    /** A program that runs @p shell, for services. */
    void program(const std::string& name, const std::string& shell) const {
        file(name, "#!/bin/sh\n" + shell + "\n");
        ASSERT_EQ(chmod(path(name).c_str(), 0755), 0);
    }

    /** Init's exit status; kTimedOut, and init killed, after half a minute. */
    int finish() {
        int status = 0;
        if (!test::eventually([&] { return waitpid(mPid, &status, WNOHANG) != 0; })) {
            kill(mPid, SIGKILL);
            waitpid(mPid, &status, 0);
        }
        return WIFEXITED(status) ? WEXITSTATUS(status) : kTimedOut;
    }

    TemporaryDir mDir;
    pid_t mPid = -1;
};

/** Shell text that waits until CONDITION holds, at most 10 s, and fails otherwise. */
std::string until(const std::string& condition) {
    return "n=0; until " + condition +
           "; do n=$((n+1)); [ $n -lt 1000 ] || exit 77; sleep 0.01; done; ";
}

// Would catch an exit status that is lost or mangled on the way out of the phone.
TEST_F(InitTest, ExitStatusPassesThrough) {
    const std::pair<std::vector<std::string>, int> rows[] = {
            {{"/bin/sh", "-c", "exit 42"}, 42},
            {{"/bin/sh", "-c", "kill -9 $$"}, 137},
            {{path("nothing")}, 127},
            {{path("build.prop")}, 126},
    };
    for (const auto& [command, status] : rows) {
        boot("", command);
        EXPECT_EQ(finish(), status);
    }
}

// Would catch a socket that is not handed over, not the bound one, with the wrong mode, or kept
// from its place by an earlier boot's, and other descriptors that slip into the service.
TEST_F(InitTest, ServiceGetsItsSocketAndNothingElse) {
    file("socket/ctl-x", "left by an earlier boot");
    const int stray = dup2(STDERR_FILENO, 77);
    program("one", "echo $ANDROID_SOCKET_ctl_x > $OUT/env; ls /proc/self/fd; exec sleep 60");
    bootShell("service one " + path("one") +
                      "\n    class main\n    socket ctl-x stream 0620 root root\n",
              until("[ -s " + path("log/stdio") + " ]"));
    EXPECT_EQ(finish(), 0);
    close(stray);
    const std::string number = base::Trim(read("out/env"));
    // The lowest free number is the folder that ls reads.
    const std::string folder = number == "3" ? "4" : "3";
    const std::vector<std::string> fds = base::Split(base::Trim(read("log/stdio")), "\n");
    EXPECT_THAT(fds, testing::UnorderedElementsAre("0", "1", "2", number, folder));
    struct stat status {};
    ASSERT_EQ(stat(path("socket/ctl-x").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0620U);
}

// Would catch bad lines, missing programs and unknown services that stop the boot or leave no
// trace.
TEST_F(InitTest, GoesOnAfterErrorsAndNamesThem) {
    bootShell(
            "service one /nonexistent/program\n class main\n    colour blue\n"
            "on init\n    frobnicate\n    mkdir\n"
            "    chmod 9 /none/x\n    copy /none /none/x\n",
            "[ $($GETPROP init.svc.one) = stopped ] || exit 1;"
            "for name in nowhere ../rc/test.rc .; do"
            " $SETPROP ctl.start $name 2> /dev/null && exit 2; done; exit 0");
    EXPECT_EQ(finish(), 0);
    const std::string log = read("log/stderr");
    for (const char* part :
         {"test.rc:3: unknown service option 'colour'", "test.rc:5: frobnicate: unknown command",
          "number of arguments", "octal", "No such file", "test.rc:1: cannot start service 'one'",
          "cannot start service 'nowhere'"}) {
        EXPECT_NE(log.find(part), std::string::npos) << part;
    }
}

// Would catch services and their orphans that outlive the phone, however stubborn.
TEST_F(InitTest, TakesEverythingDown) {
    program("stubborn",
            "trap '' TERM; setsid sleep 61 & echo $! $$ > $OUT/pids; while :; do sleep 1; done");
    boot("service stubborn " + path("stubborn") + "\n class main\n", {});
    EXPECT_TRUE(test::eventually([&] { return !read("out/pids").empty(); }));
    const auto pids = base::Split(base::Trim(read("out/pids")), " ");
    ASSERT_EQ(pids.size(), 2U);
    kill(mPid, SIGTERM);
    EXPECT_EQ(finish(), 0);
    for (const auto& pid : pids) EXPECT_EQ(kill(std::stoi(pid), 0), -1) << pid;
}

// Would catch a phone that does not boot for an ordinary user, who can give nothing away.
TEST_F(InitTest, BootsForAnOrdinaryUser) {
    program("one", "id -u > $OUT/uid; exec sleep 60");
    boot("service one " + path("one") +
                 "\n    class main\n    user root\n    socket ctl stream 0660 root root\n",
         {"/bin/sh", "-c", until("[ -s $OUT/uid ]")}, /*ordinary=*/true);
    EXPECT_EQ(finish(), 0);
    EXPECT_EQ(base::Trim(read("out/uid")),
              std::to_string(geteuid() == 0 ? kOrdinaryUser : geteuid()));
    EXPECT_NE(read("log/stderr").find("only one user id"), std::string::npos);
}

}  // namespace
}  // namespace android::kavel::host
