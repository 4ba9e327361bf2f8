// Recovery, in a phone whose waits are five times shorter; twenty times for the panic.

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/sandbox/PhoneSession.h"

namespace android::kavel::test {
namespace {

constexpr const char* kTestPackage = "com.test.kavelanrrecovery";
constexpr const char* kPanicRecord = "/data/persist_log/panic_recorded";
constexpr const char* kFailed = "anr process recover failed, goto ss reboot.";
constexpr const char* kTimeout = "handle_anr_recovery]: monitor timeout(";

/** A process of the phone with the name @p name. Ends with this object. */
class StandIn {
  public:
    explicit StandIn(std::string name) {
        std::string program = "phone_process";
        char* const arguments[] = {program.data(), name.data(), nullptr};
        EXPECT_EQ(posix_spawnp(&mPid, "phone_process", nullptr, nullptr, arguments, environ), 0);
        const auto hasName = [&] {
            return run({"pidof", name}).output.find(std::to_string(mPid)) != std::string::npos;
        };
        EXPECT_TRUE(eventually(hasName)) << name;
    }
    ~StandIn() { end(); }
    StandIn(const StandIn&) = delete;
    StandIn& operator=(const StandIn&) = delete;

    int pid() const { return mPid; }
    void end() {
        if (mPid <= 0) return;
        kill(mPid, SIGKILL);
        awaitEnd();
    }
    /** Waits until another process has ended this one. Returns its wait status. */
    int awaitEnd() {
        int status = 0;
        EXPECT_EQ(waitpid(mPid, &status, 0), mPid);
        mPid = 0;
        return status;
    }

  private:
    pid_t mPid = 0;
};

int pidOf(const char* name) {
    return atoi(run({"pidof", name}).output.c_str());
}

std::string bootCompleted() {
    return run({"getprop", "sys.dravo.boot_completed"}).output;
}

void configure() {
    ASSERT_TRUE(daemonIsUp());
    const Result set = run({"kavelctl", "set", "0x10000001", "--recover-id", "1"});
    ASSERT_EQ(set.status, 0) << set.output;
    ASSERT_TRUE(eventually([] { return bootCompleted() == "1\n"; }));
}

void report(int pid, const std::string& process, const std::string& state) {
    const Result sent = run({"kavelctl", "send", "0x10000001", "--pid", std::to_string(pid),
                             "--process", process, "--type", state});
    ASSERT_EQ(sent.status, 0) << sent.output;
}

/** Whether a watch has read its process and now sleeps, by the state of its thread in /proc. */
bool aWatchSleeps() {
    for (const auto& task :
         std::filesystem::directory_iterator("/proc/" + std::to_string(daemonPid()) + "/task")) {
        std::string name;
        std::string place;
        std::getline(std::ifstream(task.path() / "comm"), name);
        std::getline(std::ifstream(task.path() / "wchan"), place);
        if (name == "KavelAnrRecover" && place.find("nanosleep") != std::string::npos) return true;
    }
    return false;
}

/** Reports the start of an ANR of @p pid, then waits for the end of its watch. */
void watch(int pid, const std::string& process) {
    const size_t ends = logCount(kTimeout);
    report(pid, process, "start");
    ASSERT_TRUE(eventually([&] { return logCount(kTimeout) == ends + 1; }));
}

/**
 * Whether a watch has left the framework alone, if its process ends or shows its dialog while it
 * sleeps.
 */
bool endsQuietly(const std::function<void(StandIn&)>& quietEnd) {
    const int framework = pidOf("system_server");
    const size_t failures = logCount(kFailed);
    const size_t ends = logCount(kTimeout);
    const auto isOver = [&] { return logCount(kTimeout) > ends; };
    StandIn application(kTestPackage);
    const int pid = application.pid();
    report(pid, kTestPackage, "start");
    EXPECT_TRUE(eventually([&] { return aWatchSleeps() || isOver(); }));
    quietEnd(application);
    EXPECT_TRUE(eventually(isOver));
    // The answer to another cancel comes when the watch has done all.
    const std::string answer = "cancel invalid pid(" + std::to_string(pid);
    const size_t answers = logCount(answer);
    report(pid, kTestPackage, "end");
    EXPECT_TRUE(eventually([&] { return logCount(answer) > answers; }));
    EXPECT_TRUE(eventually([] { return bootCompleted() == "1\n"; }));
    return logCount(kFailed) == failures && pidOf("system_server") == framework;
}

// Would catch a framework that is not restarted, and a panic although it has come back.
TEST(RecoveryTest, FailedTestRestartsTheFramework) {
    configure();
    const auto monitor = [] {
        return run({"sh", "-c", "kavelctl status --json | jq -r .recovery.state"}).output;
    };
    EXPECT_NE(monitor(), "ready\n") << "nothing was recovered so far";
    const int before = pidOf("system_server");
    ASSERT_GT(before, 1);
    const StandIn application(kTestPackage);
    watch(application.pid(), kTestPackage);
    EXPECT_TRUE(eventually([&] { return monitor() == "ready\n"; })) << monitor();
    ASSERT_TRUE(eventually([&] {
        const int now = pidOf("system_server");
        return now > 1 && now != before && bootCompleted() == "1\n";
    }));
    EXPECT_EQ(logCount("Sending signal. PID: " + std::to_string(before) + " SIG: 9"), 1U);
    EXPECT_EQ(logCount(kFailed), 1U);
    EXPECT_TRUE(eventually([] { return logCount("binder service kavel replied: 0.") > 0; }));

    // The lock is free again, and the watch is in no list.
    report(application.pid(), kTestPackage, "end");
    const std::string invalid = "cancel invalid pid(" + std::to_string(application.pid());
    EXPECT_TRUE(eventually([&] { return logCount(invalid) == 1; }));
    EXPECT_EQ(logCount("ss recover failed."), 0U);
    EXPECT_FALSE(std::filesystem::exists(kPanicRecord));
}

// Would catch a framework restart after a recovery that has succeeded or was cancelled.
TEST(RecoveryTest, QuietEndsLeaveTheFrameworkAlone) {
    configure();
    const std::function<void(StandIn&)> quietEnds[] = {
            [](StandIn& application) { application.end(); },
            [](StandIn& application) { report(application.pid(), kTestPackage, "dialog"); },
    };
    for (const auto& quietEnd : quietEnds) {
        // On a busy machine the watch may be over before: then once more.
        bool isQuiet = false;
        for (int attempt = 0; attempt < 5 && !isQuiet; ++attempt) isQuiet = endsQuietly(quietEnd);
        EXPECT_TRUE(isQuiet);
    }
    EXPECT_TRUE(eventually([] { return logCount("monitoring has been cancelled pid(") > 0; }));
}

// Would catch a framework that does not come back without a panic, and a panic that does not end
// the phone.
TEST(PanicTest, FrameworkThatStaysAwayLeadsToAPanic) {
    configure();
    ASSERT_EQ(run({"setprop", "ctl.stop", "system_server"}).status, 0);
    ASSERT_TRUE(eventually([] { return pidOf("system_server") == 0; }));
    // Init does not restart this one.
    StandIn framework("system_server");
    const StandIn application(kTestPackage);

    // When the phone goes down, init sends its command SIGTERM.
    sigset_t term;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &term, nullptr), 0);
    watch(application.pid(), kTestPackage);
    const int status = framework.awaitEnd();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);

    const timespec limit = {180, 0};
    EXPECT_EQ(TEMP_FAILURE_RETRY(sigtimedwait(&term, nullptr, &limit)), SIGTERM);
    EXPECT_TRUE(std::filesystem::exists(kPanicRecord));
    EXPECT_EQ(logCount("start reboot recover, ss recover failed."), 1U);
    EXPECT_EQ(logCount("[dravo_kavel doKavelRebootAction]: trigger kernel panic"), 1U);
    EXPECT_EQ(logCount("simulated panic, recorded in "), 1U);
}

}  // namespace
}  // namespace android::kavel::test
