#include "handler/TrailCatcher.h"

#include <filesystem>
#include <future>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dump/LogPath.h"
#include "tests/fake/FakeFiles.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeShell.h"
#include "tests/handler/FakeDumpThreads.h"
#include "tests/handler/TestEvent.h"

namespace android::kavel {
namespace {

using Lines = std::vector<std::string>;

class TrailCatcherTest : public testing::Test {
  protected:
    void SetUp() override {
        fake::captureLog();
        fake::clearLog();
        fake::resetShell(fake::carryOut);
        fake::takeDumpThreads();
    }

    std::shared_ptr<KavelEvent> placed(long eventId, const std::string& process) {
        auto added = fake::event(eventId, int64_t{100} * mPlaced++, process, 3);
        mEvents.place(added);
        return added;
    }
    /** The thread of @p kind for @p event, in the folder that was made for @p owner. */
    std::string thread(const char* kind, const KavelEvent& event, const KavelEvent& owner) {
        fake::resetShell();
        const std::string folder = buildLogPathFolderName(mParameters, &owner);
        return std::string(kind) + " 3 " + std::to_string(event.kavelEventId) + ' ' + folder;
    }
    static size_t folders() { return fake::commandCount("/kavel_"); }

    EventParameters mParameters;
    DumpContext mDump{mParameters};
    EventList mEvents;
    TrailCatcher mCatcher{mEvents, mDump};
    int mPlaced = 0;
};

// Would catch a join that reads the folder's name before it is known.
TEST_F(TrailCatcherTest, EventJoinsWhileTheFolderIsBeingMade) {
    const auto first = placed(0x1, "one");
    const auto second = placed(0x2, "two");
    std::future<void> joiner;
    fake::resetShell([&](const std::string& command) {
        const int status = fake::carryOut(command);
        if (command.find("_one@") == std::string::npos) return status;
        joiner = std::async(std::launch::async, [&] { mCatcher.trailKavelLogCatcher(second); });
        while (fake::logCount("event combined.") < 2) std::this_thread::yield();
        return status;
    });
    mCatcher.trailKavelLogCatcher(first);
    joiner.get();
    EXPECT_EQ(folders(), 1u);
    const Lines started = fake::takeDumpThreads();
    EXPECT_EQ(started.size(), 3u);
    EXPECT_THAT(started, testing::Contains(thread("immediate", *second, *first)));
}

// Would catch an event that is lost in a folder that is gone or packed, while the window still
// counts as open.
TEST_F(TrailCatcherTest, EventIsCaughtAloneIfTheFolderOfItsWindowIsGone) {
    for (const bool isRemoved : {true, false}) {
        fake::clearLog();
        mDump.combinedDumpRunning = false;
        const auto first = placed(0x1, "one");
        const auto second = placed(0x2, "two");
        mCatcher.trailKavelLogCatcher(first);
        fake::takeDumpThreads();
        const LogFolderRef shared = mCatcher.combinedLogFolder();
        if (isRemoved) {
            std::filesystem::remove_all(shared->path());
        } else {
            shared->close();
        }
        mCatcher.trailKavelLogCatcher(second);
        EXPECT_THAT(fake::takeDumpThreads(),
                    testing::ElementsAre(thread("immediate", *second, *second),
                                         thread("continuous", *second, *second)));
        EXPECT_EQ(fake::logCount("is caught alone, the folder of the window is gone"), 1u);
    }
}

// Would catch two events of the same moment that open a window each.
TEST_F(TrailCatcherTest, OneWindowForTwoEventsOfOneMoment) {
    for (int round = 0; round < 100; ++round) {
        mDump.combinedDumpRunning = false;
        const auto first = placed(0x1, "one");
        const auto second = placed(0x2, "two");
        fake::takeDumpThreads();
        auto other = std::async(std::launch::async, [&] { mCatcher.trailKavelLogCatcher(first); });
        mCatcher.trailKavelLogCatcher(second);
        other.get();
        ASSERT_EQ(fake::takeDumpThreads().size(), 3u) << round;
    }
}

// Would catch a window that nobody ever closes.
TEST_F(TrailCatcherTest, WindowThatCannotBeOpenedIsClosed) {
    fake::refuseThreads(true);
    EXPECT_THROW(mCatcher.trailKavelLogCatcher(placed(0x1, "one")), std::system_error);
    fake::refuseThreads(false);
    EXPECT_FALSE(mDump.combinedDumpRunning);
    EXPECT_EQ(mDump.catches.size(), 0u);
}

}  // namespace
}  // namespace android::kavel
