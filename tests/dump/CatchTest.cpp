// Would catch memory that is kept for every catch ever made; a look-up of a record already gone; a
// catch that ends and takes the entry of a later record with the same id with it; a race between
// the last holder and a look-up or a second add; an exception that ends the daemon with the thread;
// two events of the same moment that both take the heavy dumps; pools of another size, and one that
// shrinks below its core after a burst; notes that a later event adds although there are none.

#include <atomic>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <thread>

#include <android-base/strings.h>
#include <gtest/gtest.h>

#include "dump/CatchTable.h"
#include "dump/DumpContext.h"
#include "dump/DumpThread.h"
#include "tests/fake/Eventually.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeThreads.h"
#include "tests/fake/TempDir.h"

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
    EXPECT_EQ(mTable.size(), 0U) << "a look-up leaves nothing behind";
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
    EXPECT_EQ(mTable.size(), 0U);
}

TEST_F(CatchTest, ExceptionEndsOneCatchWithALine) {
    fake::captureLog();
    startDumpThread(mTable.add(makeEvent(7)), [] { throw std::runtime_error("no memory"); });
    EXPECT_TRUE(fake::awaitLog("startDumpThread]: catch of event 7 ended: no memory\n"));
    EXPECT_TRUE(test::eventually([&] { return mTable.size() == 0; })) << "and is let go";
}

TEST_F(CatchTest, NotesAreJoinedIfThereAreAny) {
    CommercialNotes notes;
    notes.joinRelatedEvents("lost");
    EXPECT_FALSE(notes.joinLogInfo(1));
    EXPECT_EQ(notes.relatedEvents(), std::vector<std::string>());
    EXPECT_EQ(notes.logInfo(), 0);
    EXPECT_FALSE(notes.isCommercial() || notes.hasRelatedEvents());
    notes.addRelatedEvent("own");
    notes.joinRelatedEvents("joined");
    notes.setLogInfo(4);
    EXPECT_TRUE(notes.joinLogInfo(3));
    EXPECT_EQ(notes.relatedEvents(), (std::vector<std::string>{"own", "joined"}));
    EXPECT_EQ(notes.logInfo(), 7);
}

/** Names of the threads of the process that begin with @p prefix. */
std::multiset<std::string> threads(const std::string& prefix) {
    std::multiset<std::string> names;
    std::error_code gone;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", gone)) {
        const std::string name = base::Trim(test::contentOf(task.path() / "comm"));
        if (name.rfind(prefix, 0) == 0) names.insert(name);
    }
    return names;
}

TEST(DumpContext, PoolsHaveTheirSizesAndKeepTheirCore) {
    std::promise<void> release;
    const std::shared_future<void> released = release.get_future().share();
    // The first thread: with it a sanitizer starts one of its own.
    const auto first = std::async(std::launch::async, [released] { released.wait(); });
    const size_t before = threads("").size();
    EventParameters parameters;
    DumpContext context(parameters);
    const std::multiset<std::string> core = {"kavel_tp_cmd1", "kavel_tp_cmd2", "kavel_tp_cmd3",
                                             "kavel_tp_cmd4", "kavel_tp_cmd5"};
    EXPECT_TRUE(test::eventually([&] { return threads("kavel_tp_") == core; }));
    EXPECT_EQ(threads("").size(), before + 7) << "the other two names are too long for the kernel";
    std::atomic<int> running{0};
    std::vector<std::future<void>> tasks;
    const auto fill = [&](std::KavelThreadPool& pool, int size) {
        for (int task = 1; task <= size; ++task) {
            const int others = running;
            tasks.push_back(pool.commit([&running, released] {
                ++running;
                released.wait();
            }));
            EXPECT_TRUE(test::eventually([&] { return running > others; })) << task;
        }
    };
    fill(context.cmdPool, 10);
    fill(context.logcatPool, 1);
    fill(context.historyPool, 5);
    release.set_value();
    for (std::future<void>& task : tasks) task.wait();
    const auto cmdThreads = [&] {
        context.cmdPool.commit([] {}).wait();  // an extra worker ends behind a task
        return threads("kavel_tp_cmd").size();
    };
    EXPECT_TRUE(test::eventually([&] { return cmdThreads() == 5; }));
    for (int task = 0; task < 100; ++task) EXPECT_EQ(cmdThreads(), 5U);
}

TEST_F(CatchTest, PoolWithoutAFurtherThreadRunsItsTasks) {
    fake::captureLog();
    std::KavelThreadPool pool("kt_none", 1, 2);
    pool.addThread(1);
    std::promise<void> release;
    std::promise<void> started;
    std::future<void> first = pool.commit([&] {
        started.set_value();
        release.get_future().wait();
    });
    started.get_future().wait();
    fake::refuseThreads(true);
    std::future<void> second = pool.commit([] {});
    fake::refuseThreads(false);
    EXPECT_EQ(fake::logCount("[dravo_kavel commit]: no further thread: "), 1U);
    release.set_value();
    second.wait();
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
