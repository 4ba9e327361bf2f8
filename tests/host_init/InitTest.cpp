// The whole init, on a small phone in a temporary folder.
//
// Would catch an exit status that is not passed on; a socket that is not passed to its service, has
// the wrong mode, or cannot replace that of an earlier boot; other descriptors that a service
// inherits; folders of an earlier boot that stop the boot or keep their modes; bad lines, missing
// programs and unknown services that stop the boot or are not logged; services and orphans that
// outlive the phone; a boot that fails for an ordinary user; services that restart after a stop, do
// not start on request, or start during the shutdown; and a restart period that is not counted from
// the last start.

#include "host/init/Init.h"

#include <android-base/strings.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "host/init/Accounts.h"
#include "host/init/Lifecycle.h"
#include "host/init/Processes.h"
#include "tests/fake/Eventually.h"
#include "tests/fake/TempDir.h"

namespace android::kavel::host {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kOrdinaryUser = 54321;

class InitTest : public testing::Test {
  protected:
    InitTest() {
        for (const char* name : {"", "rc", "socket", "services", "properties", "log", "out"}) {
            mkdir((folder / name).c_str(), 0777);
            chmod((folder / name).c_str(), 0777);
        }
        setenv("KAVEL_HOST_PROPERTY_DIR", (folder / "properties").c_str(), 1);
        setenv("KAVEL_HOST_PROPERTY_SOCKET", (folder / "socket/property_service").c_str(), 1);
        setenv("OUT", (folder / "out").c_str(), 1);
        folder.write("build.prop", "ro.test=1\n");
    }

    std::string read(const std::string& name) const {
        return base::Trim(test::contentOf(folder / name));
    }

    /** Boots in a process of its own. */
    void boot(const std::string& rc, std::vector<std::string> command, bool ordinary = false) {
        folder.write("rc/test.rc", rc + "\non boot\n    setprop sys.boot_completed 1\n");
        mPid = fork();
        if (mPid != 0) return;
        if (ordinary && geteuid() == 0 && setuid(kOrdinaryUser) != 0) _exit(99);
        dup2(open((folder / "log/stderr").c_str(), O_WRONLY | O_APPEND | O_CREAT, 0666),
             STDERR_FILENO);
        InitSettings settings;
        settings.rcDirectory = folder / "rc";
        settings.propertyFile = folder / "build.prop";
        settings.command = std::move(command);
        settings.endGrace = std::chrono::milliseconds(300);
        settings.services.socketDirectory = folder / "socket";
        settings.services.outputFile = folder / "log/stdio";
        settings.services.scriptDirectory = folder / "services";
        settings.services.switchUsers = canSwitchUsers();
        settings.services.timeScale = 20;
        closeInheritedDescriptors();
        _exit(Init(std::move(settings)).run());
    }

    /** A service that runs @p shell; @p options are lines of its section. */
    std::string service(const std::string& shell, const std::string& options = "") const {
        chmod(folder.write("program", "#!/bin/sh\n" + shell + "\n").c_str(), 0755);
        return "service one " + folder / "program" + "\n    class main\n" + options;
    }

    /** Init's exit status; -1, and init killed, after a minute. */
    int finish() const {
        int status = 0;
        if (!test::eventually([&] { return waitpid(mPid, &status, WNOHANG) != 0; })) {
            kill(mPid, SIGKILL);
            waitpid(mPid, &status, 0);
        }
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    const test::TempDir folder;
    pid_t mPid = -1;
    /** Waits until the service has written its file. */
    const std::vector<std::string> waits = {"/bin/sh", "-c",
                                            "until [ -s $OUT/done ]; do sleep 0.01; done"};
};

TEST_F(InitTest, ExitStatusPassesThroughInEachBoot) {
    const std::pair<std::vector<std::string>, int> rows[] = {
            {{"/bin/sh", "-c", "exit 42"}, 42},
            {{"/bin/sh", "-c", "kill -9 $$"}, 137},
            {{folder / "nothing"}, 127},
            {{folder / "build.prop"}, 126},
    };
    for (const auto& [command, status] : rows) {
        const std::string mode = status == 42 ? "0777" : "0751";
        boot("on init\n    mkdir " + folder / "d" + " " + mode + " root root\n", command);
        EXPECT_EQ(finish(), status);
        EXPECT_EQ(fs::status(folder / "d").permissions(), fs::perms(std::stoi(mode, nullptr, 8)));
    }
}

TEST_F(InitTest, ServiceGetsItsSocketAndNothingElse) {
    folder.write("socket/ctl-x", "left by an earlier boot");
    const int stray = dup2(STDERR_FILENO, 77);
    boot(service("ls /proc/self/fd; echo $ANDROID_SOCKET_ctl_x > $OUT/done; exec sleep 60",
                 "    socket ctl-x stream 0620 root root\n"),
         waits);
    EXPECT_EQ(finish(), 0);
    close(stray);
    const std::string number = read("out/done");
    // The lowest free number is the folder that ls reads.
    EXPECT_THAT(base::Split(read("log/stdio"), "\n"),
                testing::UnorderedElementsAre("0", "1", "2", number, number == "3" ? "4" : "3"));
    EXPECT_EQ(fs::status(folder / "socket/ctl-x").permissions(), fs::perms(0620));
}

TEST_F(InitTest, GoesOnAfterErrorsAndNamesThem) {
    fs::create_symlink("build.prop", folder / "link");
    boot("service one /nonexistent/program\n class main\n    colour blue\n"
         "on init\n    frobnicate\n    mkdir\n    chmod 9 /none/x\n    copy /none /none/x\n"
         "service one /b\nservice two\nservice s /b \"c\"\non boot && init\n    start x\n"
         "service s /b\n    user\n    socket a stream 0888 root root\n"
         "on init\n    copy /dev/null " +
                 folder / "link" + "\n",
         {"/bin/sh", "-c",
          "[ $(" KAVEL_GETPROP " init.svc.one) = stopped ] || exit 1;"
          "for name in nowhere ../rc/test.rc .; do"
          " " KAVEL_SETPROP " ctl.start $name 2> /dev/null && exit 2; done; exit 0"});
    EXPECT_EQ(finish(), 0);
    for (const char* part :
         {"test.rc:3: unknown service option 'colour'", "test.rc:5: frobnicate: unknown command",
          "number of arguments", "octal", "No such file", "test.rc:1: cannot start service 'one'",
          "cannot start service 'nowhere'", "test.rc:9: ", "test.rc:10: ", "test.rc:11: ",
          "test.rc:12: ", "test.rc:15: ", "test.rc:16: "}) {
        EXPECT_THAT(read("log/stderr"), testing::HasSubstr(part));
    }
    EXPECT_EQ(read("build.prop"), "ro.test=1");
}

TEST_F(InitTest, TakesEverythingDown) {
    boot(service("trap '' TERM; setsid sleep 61 & echo $! $$ > $OUT/pids;"
                 "while :; do sleep 1; done"),
         {});
    EXPECT_TRUE(test::eventually([&] { return !read("out/pids").empty(); }));
    const auto pids = base::Split(read("out/pids"), " ");
    ASSERT_EQ(pids.size(), 2U);
    kill(mPid, SIGTERM);
    EXPECT_EQ(finish(), 0);
    for (const auto& pid : pids) EXPECT_EQ(kill(std::stoi(pid), 0), -1) << pid;
}

TEST_F(InitTest, BootsForAnOrdinaryUser) {
    boot(service("id -u > $OUT/done; exec sleep 60",
                 "    user root\n    socket ctl stream 0660 root root\n"),
         waits, /*ordinary=*/true);
    EXPECT_EQ(finish(), 0);
    EXPECT_EQ(read("out/done"), std::to_string(geteuid() == 0 ? kOrdinaryUser : geteuid()));
    EXPECT_THAT(read("log/stderr"), testing::HasSubstr("only one user id"));
}

TEST(Lifecycle, EndLeavesWhatWasAskedFor) {
    using Step = Lifecycle::Step;
    const auto stop = &Lifecycle::requestStop;
    const auto start = &Lifecycle::requestStart;
    const auto restart = &Lifecycle::requestRestart;
    const struct {
        const char* name;
        std::vector<Step (Lifecycle::*)()> requests;
        bool comesBack;
        bool oneshot;
    } rows[] = {
            {"crash", {}, true, false},
            {"oneshot", {}, false, true},
            {"stop", {stop}, false, false},
            {"restart", {restart}, true, true},
            {"stop, start", {stop, start}, true, false},
            {"restart, stop", {restart, stop}, false, false},
            {"start", {start}, true, false},
    };
    for (const auto& row : rows) {
        Lifecycle life(row.oneshot, BootTime(5000));
        EXPECT_EQ(life.requestStart(), Step::Start);
        life.started(BootTime(1000));
        for (const auto request : row.requests) (life.*request)();
        life.ended();
        EXPECT_EQ(life.tick(BootTime(5999)), Step::Nothing) << row.name;
        EXPECT_EQ(life.tick(BootTime(6000)) == Step::Start, row.comesBack) << row.name;
        life.shutDown();
        EXPECT_EQ(life.tick(BootTime(99999)), Step::Nothing) << row.name;
        EXPECT_EQ(life.requestStart(), Step::Nothing) << row.name;
    }
}

}  // namespace
}  // namespace android::kavel::host
