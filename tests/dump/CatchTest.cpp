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

// Would catch memory that is kept for every catch ever made, and a look-up of a record already
// gone.
TEST(CatchTable, EntryGoesWithItsLastHolder) {
    EventParameters parameters;
    DumpContext context(parameters);
    CatchTable& table = context.catches;
    EXPECT_EQ(table.find(7), nullptr);
    EXPECT_EQ(table.size(), 0U) << "a look-up leaves nothing behind";
    const auto event = makeEvent(7);
    std::weak_ptr<KavelEvent> record = event;
    CatchRef first = table.add(event);
    CatchRef second = table.add(event);
    EXPECT_EQ(first, second) << "one catch for one record";
    first->event->collected |= 0x3;
    first.reset();
    EXPECT_EQ(table.find(7)->event->collected, 0x3U);
    second.reset();
    EXPECT_EQ(table.find(7), nullptr);
    EXPECT_EQ(table.size(), 0U);
}

// Would catch a catch that ends and takes the entry of a later record with the same id with it.
TEST(CatchTable, EvictedRecordDoesNotTakeItsSuccessorAlong) {
    EventParameters parameters;
    DumpContext context(parameters);
    CatchTable& table = context.catches;
    CatchRef old = table.add(makeEvent(7));
    const CatchRef successor = table.add(makeEvent(7));
    EXPECT_NE(old, successor);
    old.reset();
    EXPECT_EQ(table.find(7), successor);
}

// Would catch a race between the last holder and a look-up or a second add.
TEST(CatchTable, ManyThreadsOneId) {
    EventParameters parameters;
    DumpContext context(parameters);
    CatchTable& table = context.catches;
    const auto event = makeEvent(7);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 2000; ++round) {
                const CatchRef mine = table.add(event);
                mine->event->collected |= 1U << (round % 31);
                EXPECT_NE(table.find(7), nullptr);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(table.size(), 0U);
}

// Would catch an exception that ends the daemon with the thread.
TEST(DumpThread, ExceptionEndsOneCatchWithALine) {
    fake::captureLog();
    EventParameters parameters;
    DumpContext context(parameters);
    CatchTable& table = context.catches;
    startDumpThread(table.add(makeEvent(7)), [] { throw std::runtime_error("no memory"); });
    EXPECT_TRUE(fake::awaitLog("startDumpThread]: catch of event 7 ended: no memory\n"));
    EXPECT_TRUE(test::eventually([&] { return table.size() == 0; })) << "and is let go";
}

// Would catch two events of the same moment that both take the heavy dumps.
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
