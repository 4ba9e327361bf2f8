// Would catch a look-up of a record already gone; a catch that ends and takes the entry of a later
// record with the same id with it; a race between the last holder and a look-up or a second add; an
// exception that ends the daemon with the thread; two events of the same moment that both take the
// heavy dumps; notes that a later event adds although there are none. A wrong field of an event's
// line, a text that ends the line or the object, a local time without its offset. A file that is
// nearer than the nearest one.

#include <atomic>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "dump/CatchTable.h"
#include "dump/DumpContext.h"
#include "dump/DumpThread.h"
#include "dump/EventLine.h"
#include "dump/LogCommands.h"
#include "dump/NearestFile.h"
#include "tests/fake/Eventually.h"
#include "tests/fake/FakeLog.h"

namespace android::kavel {
namespace {

std::shared_ptr<KavelEvent> makeEvent(int32_t recordId) {
    const KavelTimestamp now = {};
    const KavelExtraInfo none;
    const auto event = std::make_shared<KavelEvent>(0x999, &now, -1, 0, 0, &none);
    event->kavelEventId = recordId;
    return event;
}

class CatchTest : public testing::Test {
  protected:
    EventParameters mParameters;
    DumpContext mContext{mParameters};
    CatchTable& mTable = mContext.catches;
};

TEST_F(CatchTest, EntryGoesWithItsLastHolder) {
    EXPECT_EQ(mTable.find(7), nullptr);
    const auto event = makeEvent(7);
    CatchRef first = mTable.add(event);
    CatchRef second = mTable.add(event);
    EXPECT_EQ(first, second) << "one catch for one record";
    first.reset();
    EXPECT_EQ(mTable.find(7)->event, event);
    const CatchRef successor = mTable.add(makeEvent(7));
    EXPECT_NE(second, successor);
    second.reset();
    EXPECT_EQ(mTable.find(7), successor) << "of another record";
}

// Would catch a phase, folder or work that does not show; bits that can never be confirmed; a catch
// that fails twice, or ends unnoticed.
TEST_F(CatchTest, StatusFollowsTheCatch) {
    const auto fails = [] {
        return ReportJournal::instance().status().counts[static_cast<size_t>(Fate::Ended)];
    };
    const uint64_t before = fails();
    CatchRef running = mTable.add(makeEvent(7));
    const CatchRef later = mTable.add(makeEvent(6));
    running->setFolder(std::make_shared<LogFolder>("/staging/one"));
    const LogFolder::Work work = running->folder()->beginWork("prop-");
    running->enter(CatchPhase::Window, std::chrono::seconds(10'000));
    size_t count = 0;
    const std::vector<CatchStatus> all = mTable.status(1, &count);
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(count, 2U);
    const CatchStatus status = running->status();
    EXPECT_STREQ(phaseText(status.phase), "window");
    EXPECT_LE(*status.left, std::chrono::seconds(10'000));
    EXPECT_GT(*status.left, std::chrono::seconds(5000));
    EXPECT_EQ(status.missingBits, collectableBits(0xffffffffU));
    EXPECT_EQ(status.folder, "/staging/one");
    ASSERT_EQ(status.work.size(), 1U);
    EXPECT_EQ(status.work[0].label, "prop-");
    later->setFolder(running->folder());
    const std::vector<CatchStatus> both = mTable.status(2, &count);
    EXPECT_EQ(both[0].work.size() + both[1].work.size(), 1U) << "of one folder";
    running->enter(CatchPhase::Window, std::chrono::seconds(-1));
    EXPECT_EQ(running->status().left, std::chrono::seconds(0)) << "it is late";
    running->enter(CatchPhase::Packing);
    EXPECT_EQ(running->status().left, std::nullopt);
    running->fail(Fate::Ended);
    running->fail(Fate::Ended);
    running.reset();
    EXPECT_EQ(fails() - before, 1U);
    mTable.add(makeEvent(8)).reset();
    EXPECT_EQ(fails() - before, 2U) << "it never started";
}

TEST_F(CatchTest, ManyThreadsOneId) {
    const auto event = makeEvent(7);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 2000; ++round) {
                const CatchRef mine = mTable.add(event);
                mine->event->collected |= 1U << (round % 31);
                EXPECT_NE(mTable.find(7), nullptr);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(mTable.find(7), nullptr);
}

TEST_F(CatchTest, ExceptionEndsOneCatchWithALine) {
    fake::captureLog();
    startDumpThread(mTable.add(makeEvent(7)), [] { throw std::runtime_error("no memory"); });
    EXPECT_TRUE(fake::awaitLog("startDumpThread]: catch of event 7 ended: no memory\n"));
    EXPECT_TRUE(test::eventually([&] { return mTable.find(7) == nullptr; })) << "and is let go";
    EXPECT_EQ(ReportJournal::instance().status().failures.back().detail, "no memory");
}

TEST_F(CatchTest, NotesAreJoinedIfThereAreAny) {
    CommercialNotes notes;
    notes.joinRelatedEvents("lost");
    EXPECT_EQ(notes.relatedEvents(), std::vector<std::string>());
    notes.addRelatedEvent("own");
    notes.joinRelatedEvents("joined");
    EXPECT_EQ(notes.relatedEvents(), (std::vector<std::string>{"own", "joined"}));
    EXPECT_FALSE(notes.joinLogInfo(1));
    EXPECT_EQ(notes.logInfo(), 0);
    notes.setLogInfo(4);
    EXPECT_TRUE(notes.joinLogInfo(3));
    EXPECT_EQ(notes.logInfo(), 7);
}

TEST(HeavyDumpLimit, OneTurnForTwoThreads) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    std::vector<HeavyDumpLimit> limits(30'000);
    std::atomic<size_t> rounds{limits.size()};  // fewer if each takes long, as on one processor
    std::atomic<size_t> turns{0};
    std::atomic<size_t> arrived{0};
    const auto takeAll = [&] {
        for (size_t round = 0; round < rounds; ++round) {
            // The first to arrive decides before the other one can go on.
            if (std::chrono::steady_clock::now() > end && arrived == 2 * round) rounds = round + 1;
            ++arrived;
            while (arrived < 2 * (round + 1)) std::this_thread::yield();
            if (limits[round].tryTake(5'000'000'000)) ++turns;
        }
    };
    std::thread other(takeAll);
    takeAll();
    other.join();
    EXPECT_EQ(turns, rounds);
}

TEST(EventLine, IsOneJsonObject) {
    KavelTimestamp time = {};
    time.tm_year = 124;
    time.tm_mday = 1;
    time.tm_hour = 1;
    time.tm_gmtoff = 7200;
    time.millisecond = 7;
    const KavelExtraInfo extra = {
            "a\"b\\c\n\x7f\x1f ", "1 \xe2\x82\xac\xc2\x80\xf0\x90\x80\x80\xf4",
            "\xe2\x82|\xff|\xc0\x80|\x80|\xc1\x80|\xf5\x80\x80\x80|\xed\xa0\x80|"
            "\xe0\x9f\xbf|\xf0\x8f\xbf\xbf|\xf4\x90\x80\x80"};
    KavelEvent event(-1, &time, -2, 3, 4, &extra);
    event.kavelEventId = 5;
    EXPECT_EQ(eventLine(event, "anr"),
              "{\"utc\":\"2023-12-31T23:00:00.007Z\",\"local\":\"2024-01-01T01:00:00.007+02:00\","
              "\"recordId\":5,\"eventId\":\"0xffffffffffffffff\",\"name\":\"anr\",\"pid\":3,"
              "\"uid\":4,\"process\":\"a\\\"b\\\\c\\u000a\\u007f\\u001f \","
              "\"version\":\"1 \xe2\x82\xac\xc2\x80\xf0\x90\x80\x80\\ufffd\","
              "\"type\":\"\\ufffd\\ufffd|\\ufffd|\\ufffd\\ufffd|\\ufffd|\\ufffd\\ufffd|"
              "\\ufffd\\ufffd\\ufffd\\ufffd|\\ufffd\\ufffd\\ufffd|\\ufffd\\ufffd\\ufffd|"
              "\\ufffd\\ufffd\\ufffd\\ufffd|\\ufffd\\ufffd\\ufffd\\ufffd\",\"mask\":\"0xfffffffe\"}"
              "\n");
    time.tm_gmtoff = -12600;
    const std::string line = eventLine(KavelEvent(1, &time, 0, 0, 0, &extra), "", {"a", "b\""});
    EXPECT_NE(line.find("01:00:00.007-03:30\""), std::string::npos);
    EXPECT_NE(line.find(",\"related\":[\"a\",\"b\\\"\"]}\n"), std::string::npos);
}

// On a tie the earlier file stays; without a time of the event the epoch is nearer than any file.
TEST(NearestFile, IsTheOneAtTheOffset) {
    const struct {
        int64_t target;
        int64_t offset;
        std::vector<int64_t> files;
        int nearest;
    } kCases[] = {
            {1'000, 10, {}, -1},
            {1'000, 10, {90'000}, -1},
            {50'000, 10, {90'000}, 0},
            {1'000, 10, {1'009, 1'012}, 0},
            {1'000, 2, {1'009, 1'012}, 0},
            {1'000, 2, {1'012, 1'009}, 1},
            {1'000, 10, {1'011, 1'009}, 0},
            {1'000, 10, {995, 1'000, 1'040, 1'010}, 3},
            {1'000, 2, {900, 997}, 1},
            {0, 10, {1'000}, -1},
    };
    for (const auto& [target, offset, times, nearest] : kCases) {
        std::vector<TraceFile> files;
        for (const int64_t time : times) files.push_back({"f", time});
        EXPECT_EQ(nearestFile(files, target, offset), nearest) << target << " " << offset;
    }
}

}  // namespace
}  // namespace android::kavel
