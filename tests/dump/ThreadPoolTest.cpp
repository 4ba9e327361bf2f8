// Would catch a start beyond the maximum, also by bursts that add up; workers that debugging tools
// cannot tell apart, as a name too long for the kernel is not cut; a burst that waits behind hung
// commands, also one that is queued before the idle count falls; a queue that is not first in,
// first out, and an end that drops what is queued or deadlocks on what tasks still commit; pools of
// another size, one that keeps its extra workers or shrinks below its core; a task that is lost
// because no thread can be created; an exception that ends the daemon or the worker, or leaves no
// trace.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <list>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>

#include <android-base/strings.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include "dump/DumpContext.h"
#include "dump/KavelThreadPool.h"
#include "tests/fake/Eventually.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeThreads.h"
#include "tests/fake/FastClock.h"
#include "tests/fake/TempDir.h"

namespace android::kavel {
namespace {

using std::KavelThreadPool;
using test::eventually;
using testing::ElementsAre;
using Names = std::multiset<std::string>;

std::string threadName() {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof(name));
    return name;
}

/** Names of the live threads that begin with @p prefix. */
Names liveThreads(const std::string& prefix) {
    Names names;
    std::error_code gone;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", gone)) {
        const std::string name = base::Trim(test::contentOf(task.path() / "comm"));
        if (name.rfind(prefix, 0) == 0) names.insert(name);
    }
    return names;
}

/** Tasks that stay where they are until release(). */
class Burst {
  public:
    /** Commits so many and waits until each has a worker; whether all got one. */
    bool occupy(KavelThreadPool& pool, size_t count = 1) {
        for (; count > 0; --count) {
            mTasks.push_back(pool.commit([this] {
                {
                    MutexLock lock(mLock);
                    mNames.insert(threadName());
                }
                mReleased.wait();
            }));
            const auto hasWorker = [this] {
                MutexLock lock(mLock);
                return mNames.size() == mTasks.size();
            };
            if (!eventually(hasWorker)) return false;
        }
        return true;
    }
    /** Lets all tasks end; the names of the threads that had them. */
    Names release() {
        mRelease.set_value();
        for (std::future<void>& task : mTasks) task.wait();
        MutexLock lock(mLock);
        return mNames;
    }

  private:
    std::promise<void> mRelease;
    const std::shared_future<void> mReleased = mRelease.get_future().share();
    std::vector<std::future<void>> mTasks;
    Mutex mLock;
    Names mNames GUARDED_BY(mLock);
};

TEST(KavelThreadPool, StartsNamedWorkersUpToItsMaximum) {
    KavelThreadPool pool("kt_max", 1, 3);
    pool.addThread(0);
    EXPECT_EQ(liveThreads("kt_max").size(), 0U);
    pool.addThread(2);
    pool.addThread(20);
    EXPECT_TRUE(eventually([] { return liveThreads("kt_max").size() == 3; }));
    Burst burst;
    EXPECT_TRUE(burst.occupy(pool, 3));
    pool.commit([] {});
    const PoolStatus busy = pool.status();
    EXPECT_EQ(busy.threads, 3U);
    EXPECT_EQ(busy.idle, 0U);
    EXPECT_EQ(busy.queued, 1U);
    EXPECT_EQ(busy.limit, 3U);
    EXPECT_THAT(burst.release(), ElementsAre("kt_max1", "kt_max2", "kt_max3"));

    KavelThreadPool unnamed("kavel_tp_history", 1, 5);
    unnamed.addThread(1);
    Burst one;
    EXPECT_TRUE(one.occupy(unnamed));
    EXPECT_THAT(one.release(), ElementsAre(threadName()));
}

bool isReady(const std::future<void>& task) {
    return task.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

TEST(KavelThreadPool, GrowsWhileTasksWaitAndNoWorkerBecomesFree) {
    const fake::FastClock clock(5);  // whether tasks wait depends on the scheduler: several pools
    std::promise<void> release;
    const std::shared_future<void> released = release.get_future().share();
    std::list<KavelThreadPool> pools;
    std::vector<std::future<void>> waiting;
    for (int i = 0; i < 20; ++i) {
        KavelThreadPool& pool = pools.emplace_back("kt_hung", 2, 4);
        pool.addThread(2);
        for (int hung = 0; hung < 3; ++hung) pool.commit([released] { released.wait(); });
        waiting.push_back(pool.commit([] {}));
    }
    EXPECT_TRUE(eventually([&] { return std::all_of(waiting.begin(), waiting.end(), isReady); }));
    release.set_value();
}

TEST(KavelThreadPool, OneWorkerOutlivesAnExceptionKeepsTheOrderAndRunsAllBeforeItIsGone) {
    fake::captureLog();
    fake::clearLog();
    std::vector<int> order;
    std::optional<KavelThreadPool> pool;
    pool.emplace("kt_one", uint16_t{1}, uint16_t{1});
    pool->addThread(1);
    std::future<void> failed = pool->commit([] { throw std::runtime_error("no space"); });
    EXPECT_THROW(failed.get(), std::runtime_error);
    EXPECT_EQ(fake::logCount("task ended with an exception: no space"), 1U);
    for (int i = 0; i < 200; ++i) {
        pool->commit([&order](int value) { order.push_back(value); }, i);
    }
    pool.reset();
    ASSERT_EQ(order.size(), 200U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(KavelThreadPool, ThoseOfADumpGrowToTheirSizesOnceAndKeepTheirCore) {
    KavelThreadPool first("kt_first", 1, 1);  // with it a sanitizer starts a thread of its own
    first.addThread(1);
    first.commit([] {}).wait();
    const size_t before = liveThreads("").size();
    EventParameters parameters;
    DumpContext context(parameters);
    EXPECT_TRUE(eventually([&] { return liveThreads("kavel_tp_").size() == 5; }));
    EXPECT_EQ(liveThreads("").size(), before + 7) << "the other names are too long for the kernel";
    {
        Burst burst;
        EXPECT_TRUE(burst.occupy(context.cmdPool, 10));
        EXPECT_TRUE(burst.occupy(context.logcatPool));
        EXPECT_TRUE(burst.occupy(context.historyPool, 5));
        burst.release();
    }
    const auto cmdThreads = [&] {
        context.cmdPool.commit([] {}).wait();  // an extra worker ends behind a task
        return liveThreads("kavel_tp_cmd");
    };
    const auto hasShrunk = [&] {
        return context.cmdPool.status().threads == 5 && cmdThreads().size() == 5;
    };
    EXPECT_TRUE(eventually(hasShrunk));
    for (int task = 0; task < 100; ++task) EXPECT_EQ(cmdThreads().size(), 5U);

    const Names left = cmdThreads();
    Burst burst;
    EXPECT_TRUE(burst.occupy(context.cmdPool, 5));
    std::vector<std::string> names(30);
    std::vector<std::future<void>> waiting;
    for (std::string& name : names) {
        waiting.push_back(context.cmdPool.commit([&name] { name = threadName(); }));
    }
    burst.release();
    for (const std::future<void>& task : waiting) task.wait();
    for (const std::string& name : names) EXPECT_EQ(left.count(name), 1U) << name;
}

TEST(KavelThreadPool, RunsItsTasksWithoutAFurtherThread) {
    fake::captureLog();
    KavelThreadPool pool("kt_none", 1, 2);
    pool.addThread(1);
    Burst burst;
    EXPECT_TRUE(burst.occupy(pool));
    fake::refuseThreads(true);
    std::future<void> second = pool.commit([] {});
    fake::refuseThreads(false);
    EXPECT_EQ(fake::logCount("[dravo_kavel commit]: no further thread: "), 1U);
    burst.release();
    second.wait();
}

TEST(KavelThreadPool, StoppedPoolSaysSoAndStillRunsWhatIsCommitted) {
    fake::captureLog();
    fake::clearLog();
    bool ranLate = false;
    {
        KavelThreadPool pool("kt_stop", 1, 2);
        pool.addThread(1);
        pool.commit([&] {
            const auto stopped = [] {
                return fake::logCount("KavelThreadPool _run is false.") > 0;
            };
            while (!stopped()) {
                pool.commit([] {});
                std::this_thread::yield();
            }
            EXPECT_TRUE(eventually([] { return liveThreads("kt_stop").size() == 1; }));
            pool.commit([&] { ranLate = true; });  // nobody else is left to run it
        });
    }
    EXPECT_TRUE(ranLate);
    EXPECT_GE(fake::logCount("[dravo_kavel commit]: KavelThreadPool _run is false.\n"), 1U);
}

}  // namespace
}  // namespace android::kavel
