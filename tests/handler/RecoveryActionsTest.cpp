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
