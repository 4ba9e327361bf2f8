#include "handler/RecoveryActions.h"

#include <cinttypes>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <android-base/stringprintf.h>
#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <gtest/gtest.h>

#include "handler/KavelEventHandler.h"
#include "recovery/RecoveryActions.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProcesses.h"
#include "tests/fake/FakeTime.h"

namespace android::kavel {
namespace {

using Lines = std::vector<std::string>;

constexpr const char* kTestPackage = "com.test.kavelanrrecovery";
constexpr long kEvent = 0x10000001;

/** The framework's side: writes down what it is told, as "CODE FLAGS PID EVENT". */
class Framework : public BBinder {
  public:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        if (!data.enforceInterface(String16("android.os.IKavelManager"))) return PERMISSION_DENIED;
        const int32_t pid = data.readInt32();
        const int64_t eventId = data.readInt64();
        mRequests.push_back(base::StringPrintf("%u %u %d %" PRIx64, code, flags, pid,
                                               static_cast<uint64_t>(eventId)));
        if (failing) return UNKNOWN_ERROR;
        return reply->writeInt32(42);
    }
    Lines takeRequests() { return std::exchange(mRequests, {}); }

    bool failing = false;

  private:
    Lines mRequests;
};

class RecoveryActionsTest : public testing::Test {
  protected:
    void SetUp() override {
        std::string folder = testing::TempDir() + "/binderXXXXXX";
        setenv("KAVEL_HOST_BINDER_DIR", mkdtemp(folder.data()), 1);
        fake::captureLog();
        fake::clearLog();
        fake::holdSleeps(true);
        fake::setProcesses({});
    }

    /** Waits for the last lines of the monitor's threads: no thread may log during the exit. */
    static void awaitMonitor(bool isCancel) {
        const char* const request = isCancel ? "HandleThread::threadLoop]: cancel "
                                             : "HandleThread::threadLoop]: new THREAD_NAME";
        EXPECT_TRUE(fake::awaitLog(request));
        if (!isCancel) {
            EXPECT_TRUE(fake::awaitLog("read A proc failed."));
        }
    }

    EventParameters mParameters;
    RecoveryActions mActions{mParameters};
};

// Would catch an action that is taken for another id, or a result that is not the action's.
TEST_F(RecoveryActionsTest, RecoverIdChoosesTheAction) {
    constexpr const char* kRet = "[dravo_kavel doKavelRecoverAction]: recoverId:";
    constexpr const char* kUnknown = "[dravo_kavel doKavelRecoverAction]: unknown recoverId:";
    struct {
        long recoverId;
        bool possible;
        Lines deeds;
        std::string line;
    } const rows[] = {
            {2, true, {"signal 51 9"}, kRet + std::string("2 ret:0")},
            {2, false, {}, kRet + std::string("2 ret:-1")},
            {3, true, {"panic"}, kRet + std::string("3 ret:0")},
            {3, false, {}, kRet + std::string("3 ret:-1")},
            {4, true, {}, kUnknown + std::string("4")},
            {-1, true, {}, kUnknown + std::string("-1")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        fake::clearLog();
        fake::refusePanic(!row.possible);
        fake::setProcesses({{50, fake::process(1000, "system")},
                            {51, fake::process(1000, row.possible ? "system_server" : "x")}});
        mParameters.setRecoverId(kEvent, row.recoverId);
        mActions.doKavelRecoverAction(7, kEvent, "com.a", "start");
        EXPECT_EQ(fake::takeDeeds(), row.deeds);
        EXPECT_EQ(fake::logCount(row.line), 1u);
        EXPECT_EQ(fake::logCount(kRet) + fake::logCount(kUnknown), 1u);
        EXPECT_EQ(fake::logCount("start wmreboot recover"), row.recoverId == 2 ? 2u : 0u);
        EXPECT_EQ(fake::logCount("open sysrq-trigger failed!! fd: -1"),
                  row.recoverId == 3 && !row.possible ? 1u : 0u);
    }
}

// Would catch a look-up without the entry that later readers see.
TEST_F(RecoveryActionsTest, UnconfiguredIdLeavesAnEntry) {
    mActions.doKavelRecoverAction(7, kEvent, "com.a", "start");
    EXPECT_EQ(fake::logCount("[dravo_kavel doKavelRecoverAction]: unknown recoverId:0"), 1u);
    EXPECT_TRUE(fake::takeDeeds().empty());
    EXPECT_TRUE(mParameters.hasRecoverId(kEvent));
}

// Would catch a state that is taken for another, a test flag that another package moves, and a
// framework that is told of more than the start, or not as it expects.
TEST_F(RecoveryActionsTest, StateChoosesTheBranch) {
    const sp<Framework> framework = new Framework;
    ASSERT_EQ(defaultServiceManager()->addService(String16("kavel"), framework), OK);
    constexpr const char* kWatch = "process(7) insert monitor list, type:KavelAnrRecoveryMonitor!";
    constexpr const char* kUser =
            "process(7) insert monitor list, type:KavelAnrRecoveryMonitorUserRequest!";
    constexpr const char* kCancel = "received cancel pid(7) monitor";
    struct {
        const char* process;
        const char* state;
        const char* line;
        const char* monitor;
        bool told, testing;
    } const rows[] = {
            {"com.a", "start", "start anr recover", kWatch, true, false},
            {"com.a", "closeUser", "User request anr recover", kUser, false, false},
            {kTestPackage, "End", "start anr recover", kWatch, true, true},
            {"com.a", "end", "Finish anr recover state:end", kCancel, false, true},
            {kTestPackage, "dialog", "Finish anr recover state:dialog", kCancel, false, false},
            {kTestPackage, "closeUser", "User request anr recover", kUser, false, true},
            {kTestPackage, "end", "Finish anr recover state:end", kCancel, false, false},
            {kTestPackage, "", "start anr recover", kWatch, true, true},
    };
    mParameters.setRecoverId(kEvent, 1);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.state);
        fake::clearLog();
        mActions.doKavelRecoverAction(7, kEvent, row.process, row.state);
        for (const char* const line :
             {"start anr recover", "User request anr recover", "Finish anr recover state:"}) {
            EXPECT_EQ(fake::logCount(line), std::string(row.line).find(line) == 0 ? 1u : 0u);
        }
        for (const char* const line : {kWatch, kUser, kCancel}) {
            EXPECT_EQ(fake::logCount(line), line == row.monitor ? 1u : 0u) << line;
        }
        EXPECT_EQ(framework->takeRequests(), row.told ? Lines{"8 0 7 10000001"} : Lines{});
        EXPECT_EQ(fake::logCount("binder service kavel replied: 42.\n"), row.told ? 1u : 0u);
        EXPECT_EQ(mActions.isAnrTesting(), row.testing);
        EXPECT_EQ(fake::logCount("[dravo_kavel doKavelAnrRecoverAction]: mIsKavelAnrTesting:" +
                                 std::to_string(row.testing)),
                  1u);
        awaitMonitor(row.monitor == kCancel);
    }
    framework->failing = true;
    fake::clearLog();
    mActions.doKavelAnrRecoverAction(7, kEvent, "com.a", "start");
    EXPECT_EQ(fake::logCount("binder service kavel failed with error.\n"), 1u);
    EXPECT_EQ(fake::logCount("binder service kavel replied: 0.\n"), 1u);
    awaitMonitor(false);
}

// Would catch a missing framework that ends the recovery, or the daemon.
TEST_F(RecoveryActionsTest, WatchBeginsWithoutTheFramework) {
    mActions.doKavelAnrRecoverAction(7, kEvent, "com.a", "start");
    EXPECT_EQ(fake::logCount("process(7) insert monitor list"), 1u);
    EXPECT_EQ(fake::logCount("binder service kavel does not exist.\n"), 1u);
    EXPECT_EQ(fake::logCount("replied"), 0u);
    awaitMonitor(false);
}

// Would catch a match by prefix or with arguments, and a process that cannot be read and ends the
// scan.
TEST_F(RecoveryActionsTest, FirstProcessOfTheCommandIsFound) {
    fake::setProcesses({{2, {"", ""}},
                        {3, {"", std::nullopt}},
                        {40, {"", "app_process64 -Xzygote"}},
                        {41, fake::process(1000, "system_server")},
                        {42, fake::process(1000, "system_server")}});
    struct {
        const char* command;
        int pid;
    } const rows[] = {
            {"system_server", 41},          {"system", -2},
            {"system_server2", -2},         {"app_process64", 40},
            {"app_process64 -Xzygote", -2}, {"SYSTEM_SERVER", -2},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(RecoveryActions::getPidForCommand(row.command), row.pid) << row.command;
    }
    EXPECT_EQ(fake::logCount("getPidForCommand]: found, command system_server pid 41"), 1u);
    fake::closeProc(true);
    EXPECT_EQ(RecoveryActions::getPidForCommand("system_server"), -1);
    EXPECT_EQ(fake::logCount("getPidForCommand]: open /proc failed Permission denied"), 1u);
    fake::closeProc(false);
}

// Would catch a monitor that acts on, or asks, another handler than the reports reach.
TEST_F(RecoveryActionsTest, MonitorReachesTheHandler) {
    fake::setProcesses({{51, fake::process(1000, "system_server")}});
    EXPECT_EQ(restartFramework(), 0);
    EXPECT_EQ(rebootByPanic(), 0);
    EXPECT_EQ(fake::takeDeeds(), (Lines{"signal 51 9", "panic"}));
    EXPECT_FALSE(isAnrRecoveryTested());
    KavelEventHandler::getInstance().doKavelAnrRecoverAction(7, kEvent, kTestPackage, "closeUser");
    EXPECT_TRUE(isAnrRecoveryTested());
    awaitMonitor(false);
}

}  // namespace
}  // namespace android::kavel
