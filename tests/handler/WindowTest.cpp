// Would catch a join that reads the folder's name before it is known, and two events of the same
// moment that open a window each.

#include <cstdlib>
#include <future>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "handler/KavelEventHandler.h"
#include "tests/fake/FakeFiles.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeShell.h"
#include "tests/handler/FakeDumpThreads.h"

namespace android::kavel {
namespace {

class Window : public testing::Test {
  protected:
    Window() {
        setenv("TZ", "UTC0", 1);  // the sanitizer does not see the lock of tzset()
        fake::captureLog();
        fake::clearLog();
        fake::resetShell(fake::carryOut);
        for (const long id : {0x1, 0x2}) mHandler.parameters().updateEventParams(id, true, 0);
    }
    ~Window() override { fake::releaseCatches(); }

    void report(int pid) { mHandler.report({pid, 3, pid, 0, "process" + std::to_string(pid)}); }

    KavelEventHandler mHandler;
};

TEST_F(Window, EventJoinsWhileTheFolderIsBeingMade) {
    std::future<void> joiner;
    fake::resetShell([&](const std::string& command) {
        const int status = fake::carryOut(command);
        if (command.find("_process1@") == std::string::npos) return status;
        joiner = std::async(std::launch::async, [this] { report(2); });
        fake::awaitLog("event combined.", 2);
        return status;
    });
    EXPECT_FALSE(mHandler.status().isWindowOpen);
    report(1);
    joiner.get();
    EXPECT_TRUE(mHandler.status().isWindowOpen);
    EXPECT_EQ(fake::commandCount("/kavel_"), 1U);
    for (const char* thread : {"first round of 1,", "pack of 1,", "first round of 2,"}) {
        EXPECT_EQ(fake::logCount(thread), 1U) << thread;
    }
    EXPECT_EQ(fake::logCount("pack of 2,"), 0U);
    EXPECT_EQ(fake::heldCatches().at(2)->folder(), fake::heldCatches().at(1)->folder());
}

TEST_F(Window, IsOneForTwoEventsOfOneMoment) {
    for (int round = 0; round < 100; ++round) {
        fake::clearLog();
        auto other = std::async(std::launch::async, [this] { report(1); });
        report(2);
        other.get();
        ASSERT_EQ(fake::logCount("first round of "), 2U) << round;
        ASSERT_EQ(fake::logCount("pack of "), 1U) << round;
        fake::heldCatches().at(1)->context.combinedDumpRunning = false;
    }
}

}  // namespace
}  // namespace android::kavel
