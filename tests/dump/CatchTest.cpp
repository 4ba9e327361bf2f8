// Would catch a look-up of a record already gone; a catch that ends and takes the entry of a later
// record with the same id with it; a race between the last holder and a look-up or a second add; an
// exception that ends the daemon with the thread; two events of the same moment that both take the
// heavy dumps; log info that a later event adds although there is none.

#include <atomic>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "dump/CatchTable.h"
#include "dump/DumpContext.h"
#include "dump/DumpThread.h"
#include "tests/fake/Eventually.h"
#include "tests/fake/FakeLog.h"

namespace android::kavel {
namespace {

std::shared_ptr<KavelEvent> makeEvent(int32_t recordId) {
    const KavelTimestamp now = {};
    const KavelExtraInfo none;
    const auto event = std::make_shared<KavelEvent>(0x999, &now, 0, 0, 0, &none);
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
}

TEST_F(CatchTest, LogInfoIsJoinedIfThereIsAny) {
    CommercialNotes notes;
    EXPECT_FALSE(notes.joinLogInfo(1));
    EXPECT_EQ(notes.logInfo(), 0);
    notes.setLogInfo(4);
    EXPECT_TRUE(notes.joinLogInfo(3));
    EXPECT_EQ(notes.logInfo(), 7);
}

TEST(HeavyDumpLimit, OneTurnForTwoThreads) {
    constexpr size_t kRounds = 30'000;
    std::vector<HeavyDumpLimit> limits(kRounds);
    std::atomic<size_t> turns{0};
    std::atomic<size_t> arrived{0};
    const auto takeAll = [&] {
        for (size_t round = 0; round < kRounds; ++round) {
            ++arrived;
            while (arrived < 2 * (round + 1)) std::this_thread::yield();
            if (limits[round].tryTake(5'000'000'000)) ++turns;
        }
    };
    std::thread other(takeAll);
    takeAll();
    other.join();
    EXPECT_EQ(turns, kRounds);
}

}  // namespace
}  // namespace android::kavel
