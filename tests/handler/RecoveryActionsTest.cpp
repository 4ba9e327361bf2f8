#include "handler/RecoveryActions.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "handler/KavelEventHandler.h"
#include "recovery/RecoveryActions.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProcesses.h"

namespace android::kavel {
namespace {

using Lines = std::vector<std::string>;

class RecoveryActionsTest : public testing::Test {
  protected:
    RecoveryActionsTest() {
        fake::captureLog();
        fake::clearLog();
        fake::setProcesses({});
    }
};

// Would catch a look-up without the entry that later readers see.
TEST_F(RecoveryActionsTest, UnconfiguredIdLeavesAnEntry) {
    EventParameters parameters;
    RecoveryActions(parameters).doKavelRecoverAction(7, 0x10000001, "com.a", "start");
    EXPECT_EQ(fake::logCount("[dravo_kavel doKavelRecoverAction]: unknown recoverId:0"), 1u);
    EXPECT_TRUE(fake::takeDeeds().empty());
    EXPECT_TRUE(parameters.hasRecoverId(0x10000001));
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
    EXPECT_EQ(fake::takeDeeds(), (std::vector<std::string>{"signal 51 9", "panic"}));
    EXPECT_FALSE(isAnrRecoveryTested());
    KavelEventHandler::getInstance().doKavelAnrRecoverAction(
            7, 0x10000001, "com.test.kavelanrrecovery", "closeUser");
    EXPECT_TRUE(isAnrRecoveryTested());
    // Neither thread of the monitor may log during the exit.
    EXPECT_TRUE(fake::awaitLog("HandleThread::threadLoop]: new THREAD_NAME"));
    EXPECT_TRUE(fake::awaitLog("read A proc failed."));
}

}  // namespace
}  // namespace android::kavel
