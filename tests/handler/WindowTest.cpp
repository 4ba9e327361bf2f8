// Would catch a join that reads the folder's name before it is known, an event that is lost in a
// folder that is gone or packed while its window still counts as open, two events of the same
// moment that open a window each, and a window that nobody ever closes.

#include <filesystem>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "handler/KavelEventHandler.h"
#include "tests/fake/FakeFiles.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeShell.h"
#include "tests/fake/FakeTime.h"
#include "tests/handler/FakeDumpThreads.h"

namespace android::kavel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

class Window : public testing::Test {
  protected:
    Window() {
        fake::captureLog();
        fake::clearLog();
        fake::resetShell(fake::carryOut);
        fake::tickAtEachReading();  // so that each folder has a name of its own
        for (const long id : {0x1, 0x2}) mHandler.parameters().updateEventParams(id, true, 0);
    }
    ~Window() override { fake::releaseCatches(); }

    void report(int pid) { mHandler.report({pid, 3, pid, 0, "process" + std::to_string(pid)}); }
    static CatchRef held(int pid) { return fake::heldCatches().at(pid); }
    static void endWindow() {
        for (const auto& [pid, held] : fake::heldCatches()) {
            held->context.combinedDumpRunning = false;
        }
    }

    KavelEventHandler mHandler;
};

TEST_F(Window, EventJoinsWhileTheFolderIsBeingMade) {
    std::future<void> joiner;
    fake::resetShell([&](const std::string& command) {
        const int status = fake::carryOut(command);
        if (command.find("_process1@") == std::string::npos) return status;
        joiner = std::async(std::launch::async, [this] { report(2); });
        while (fake::logCount("event combined.") < 2) std::this_thread::yield();
        return status;
    });
    report(1);
    joiner.get();
    EXPECT_EQ(fake::commandCount("/kavel_"), 1u);
    EXPECT_EQ(fake::takeDumpThreads().size(), 3u);
    EXPECT_THAT(held(2)->folder()->path(), HasSubstr("_process1@"));
}

TEST_F(Window, EventIsCaughtAloneIfTheFolderOfItsWindowIsGone) {
    for (const bool isRemoved : {true, false}) {
        fake::clearLog();
        report(1);
        fake::takeDumpThreads();
        const LogFolderRef shared = held(1)->folder();
        if (isRemoved) {
            std::filesystem::remove_all(shared->path());
        } else {
            shared->close();
        }
        report(2);
        EXPECT_THAT(fake::takeDumpThreads(),
                    ElementsAre(StartsWith("immediate 3 of 2 "), StartsWith("continuous 3 of 2 ")));
        EXPECT_THAT(held(2)->folder()->path(), HasSubstr("_process2@"));
        EXPECT_EQ(fake::logCount("is caught alone, the folder of the window is gone"), 1u);
        endWindow();
    }
}

TEST_F(Window, IsOneForTwoEventsOfOneMoment) {
    for (int round = 0; round < 100; ++round) {
        auto other = std::async(std::launch::async, [this] { report(1); });
        report(2);
        other.get();
        ASSERT_EQ(fake::takeDumpThreads().size(), 3u) << round;
        endWindow();
    }
}

TEST_F(Window, IsClosedIfItCannotBeOpened) {
    fake::refuseThreads(true);
    report(1);
    EXPECT_EQ(fake::logCount("report of eventId 0x1 dropped"), 1u);
    fake::refuseThreads(false);
    EXPECT_TRUE(fake::heldCatches().empty());
    report(2);
    EXPECT_THAT(fake::takeDumpThreads(), testing::SizeIs(2));
}

}  // namespace
}  // namespace android::kavel
