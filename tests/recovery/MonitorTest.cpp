// The monitor lives as long as the process: each case leaves its lists empty for the next one.

#include "recovery/KavelAnrRecoveryMonitor.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <iterator>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <android-base/properties.h>
#include <android/log.h>
#include <gtest/gtest.h>

#include "tests/fake/Eventually.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProcesses.h"
#include "tests/fake/FakeTime.h"

namespace android {
namespace kavel {
namespace {

std::atomic<const char*> sRefusedThread{""};  // threads of this name do not start

}  // namespace

// Takes the place of Thread::run(): the linker wraps the symbol.
extern "C" status_t __real__ZN7android6Thread3runEPKcim(Thread* self, const char* name,
                                                        int32_t priority, size_t stack);
extern "C" status_t __wrap__ZN7android6Thread3runEPKcim(Thread* self, const char* name,
                                                        int32_t priority, size_t stack) {
    if (name == std::string(sRefusedThread)) return NO_MEMORY;
    return __real__ZN7android6Thread3runEPKcim(self, name, priority, stack);
}

namespace {

constexpr const char* kBootCompleted = "sys.dravo.boot_completed";
constexpr int kSystemServer = 51;
const std::string kRestart = "signal 51 9";
using Deeds = std::vector<std::string>;
constexpr const char* kFailed = "anr process recover failed, goto ss reboot.";

class MonitorTest : public testing::Test {
  protected:
    void SetUp() override {
        fake::captureLog();
        fake::resetTime(0);
        fake::onSleep(nullptr);
        fake::onPropertyWait(nullptr);
        fake::setProcesses({{kSystemServer, fake::process(1000, "system_server")}});
        base::SetProperty(kBootCompleted, "1");
        fake::takeDeeds();
        mMonitor.setAnrTesting(false);
        // A sanitizer starts a thread of its own along with the first of ours. Counted in that one:
        // a joined thread may still be seen for a moment.
        std::thread([this] { mThreadsBefore = threadCount() - 1; }).join();
    }

    /** Lets all watches end: liblog is not to be used by a thread while the process exits. */
    void TearDown() override {
        fake::holdSleeps(false);
        EXPECT_TRUE(test::eventually([this] { return threadCount() == mThreadsBefore; }));
        EXPECT_TRUE(listsBecome(0, 0, 0));
        for (const fake::LogLine& line : fake::logLines()) {
            const bool isOurs = line.text.rfind("[KavelAnrRecoveryMonitor::", 0) == 0 ||
                                line.text.rfind("[dravo_kavel ", 0) == 0;
            EXPECT_TRUE(isOurs) << line.text;
        }
        fake::clearLog();  // under the log's lock: what they logged was before this
    }

    static long threadCount() {
        namespace fs = std::filesystem;
        return std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator());
    }

    /** Waits until all lists have these sizes. */
    bool listsBecome(size_t requested, size_t monitored, size_t cancelled) {
        return test::eventually([&] {
            const auto sizes = mMonitor.listSizes();
            return sizes.requested == requested && sizes.monitored == monitored &&
                   sizes.cancelled == cancelled;
        });
    }

    /** Asks for watches of the processes @p pids, which then wait. */
    void startHeldWatches(const std::vector<int>& pids, bool userRequest = false) {
        fake::holdSleeps(true);
        for (const int pid : pids) {
            const size_t sleeps = fake::sleeps().size();
            fake::setProcess(pid, fake::process(10000 + pid));
            EXPECT_EQ(mMonitor.monitor(pid, userRequest), 0);
            EXPECT_TRUE(test::eventually([&] { return fake::sleeps().size() == sleeps + 1; }));
        }
    }

    long mThreadsBefore = 0;
    KavelAnrRecoveryMonitor& mMonitor = KavelAnrRecoveryMonitor::getInstance();
};

// Would catch a bound that is off by one, or a negative pid that passes as small.
TEST_F(MonitorTest, PidsBeyondTheKernelsAreRefused) {
    for (const int pid : {0x400001, -1, INT32_MIN}) {
        EXPECT_EQ(mMonitor.monitor(pid, false), -1);
    }
    EXPECT_EQ(fake::logCount("Pid is invalid, Must 0 <= pid <= 0x400000, but current val:0x"), 3u);
    EXPECT_EQ(fake::logCount("but current val:0xffffffff."), 1u);
    startHeldWatches({0x400000});
    EXPECT_TRUE(listsBecome(0, 1, 0));
    EXPECT_EQ(fake::logCount("Pid is invalid"), 3u);
}

// Would catch a bound of ten, or none.
TEST_F(MonitorTest, ElevenWatchesAreTakenAndATwelfthIsNot) {
    startHeldWatches({1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    startHeldWatches({11}, true);
    EXPECT_EQ(fake::logCount("new THREAD_NAME for 10, monitor_list size:10"), 1u);
    EXPECT_EQ(fake::logCount("new THREAD_NAME_USER_REQUEST for 11, monitor_list size:11"), 1u);
    EXPECT_EQ(mMonitor.close_user_request(12), -1);
    EXPECT_EQ(fake::logCount(">=ThreadMaxOnlineCount(10),user request:1, process:12"), 1u);
    fake::advance(30);
    EXPECT_TRUE(listsBecome(0, 0, 0));
    startHeldWatches({12});
}

struct Course {
    const char* what;
    std::function<void()> duringWatch;
    std::function<void()> duringBoot;
    Deeds deeds;  // that are left to be seen
    bool userRequest, tested, failed;
};

// Would catch a watch that waits for the wrong time, fails a recovery that succeeded, takes an
// ordinary application's failure further, or panics although the framework is back.
TEST_F(MonitorTest, WatchEndsAsItsProcessDoes) {
    const auto nothing = [] {};
    const auto bootAgain = [] {
        EXPECT_EQ(base::GetProperty(kBootCompleted, ""), "0");
        EXPECT_EQ(fake::takeDeeds(), Deeds{kRestart});
        base::SetProperty(kBootCompleted, "1");
    };
    const auto end = [] { fake::removeProcess(7); };
    const auto becomeAnother = [] { fake::setProcess(7, fake::process(8)); };
    const auto hide = [] { fake::setProcess(7, {std::nullopt, std::nullopt}); };
    const Course courses[] = {
            {"gone", end, nothing, {}, false, true, false},
            {"of another user", becomeAnother, nothing, {}, true, true, false},
            {"not to be read", hide, nothing, {}, false, true, false},
            {"there, no test", nothing, nothing, {}, false, false, true},
            {"there, closed by the user, no test", nothing, nothing, {}, true, false, true},
            {"there, framework comes back", nothing, bootAgain, {}, false, true, true},
            {"there, framework stays away",
             nothing,
             nothing,
             {kRestart, "panic"},
             true,
             true,
             true},
    };
    for (const Course& course : courses) {
        SCOPED_TRACE(course.what);
        fake::clearLog();
        const size_t sleeps = fake::sleeps().size();
        fake::takeDeeds();
        mMonitor.setAnrTesting(course.tested);
        base::SetProperty(kBootCompleted, "1");
        fake::setProcess(7, fake::process(10007));
        fake::onSleep([&](uint64_t seconds) {
            if (seconds < 300) course.duringWatch();
        });
        fake::onPropertyWait([&](const std::string& /*name*/) { course.duringBoot(); });

        EXPECT_EQ(mMonitor.monitor(7, course.userRequest), 0);
        const int seconds = course.userRequest ? 5 : 30;
        ASSERT_TRUE(fake::awaitLog("monitor timeout(" + std::to_string(seconds) + ")."));
        ASSERT_TRUE(listsBecome(0, 0, 0));
        const bool isPanic = course.deeds.size() == 2;
        EXPECT_EQ(fake::sleeps()[sleeps], static_cast<uint64_t>(seconds));
        EXPECT_EQ(fake::logCount(kFailed), course.failed ? 1u : 0u);
        EXPECT_EQ(fake::takeDeeds(), course.deeds);
        EXPECT_EQ(fake::sleeps().back() == 300, isPanic);
        EXPECT_EQ(fake::logCount("start reboot recover, ss recover failed."), isPanic ? 1u : 0u);
        EXPECT_EQ(base::GetProperty(kBootCompleted, ""), isPanic ? "0" : "1");
    }
}

// Would catch a watch of a process that was never there, an entry that a cancel cannot find, and a
// cancel that outlives its watch and ends the next one of that process.
TEST_F(MonitorTest, WatchOfAnUnreadableProcessStaysListedUntilCancelled) {
    fake::setProcesses({{1, {std::nullopt, std::nullopt}},
                        {kSystemServer, fake::process(1000, "system_server")},
                        {2, {"Name:\tx\n", std::nullopt}}});
    for (const int pid : {1, 2, 3}) mMonitor.monitor(pid, false);
    ASSERT_TRUE(fake::awaitLog("read A proc failed.", 3));
    EXPECT_EQ(fake::logCount("Unable to read /proc/1/status"), 1u);
    EXPECT_EQ(fake::logCount("Unable to open /proc/3/status"), 1u);
    EXPECT_TRUE(listsBecome(0, 3, 0));
    EXPECT_TRUE(fake::sleeps().empty());
    for (const int pid : {1, 2, 3}) mMonitor.cancel_monitor(pid);
    ASSERT_TRUE(fake::awaitLog("HandleThread::threadLoop]: cancel pid ", 3));
    EXPECT_TRUE(listsBecome(0, 0, 0));

    startHeldWatches({2});
    fake::advance(30);
    EXPECT_TRUE(fake::awaitLog(kFailed));
}

// Would catch a cancelled watch that is taken further, and a cancel that compares more than pids.
TEST_F(MonitorTest, CancelInTimeEndsTheWatchQuietly) {
    mMonitor.setAnrTesting(true);
    for (const bool userRequest : {false, true}) {
        fake::clearLog();
        startHeldWatches({7}, userRequest);
        mMonitor.cancel_monitor(7);
        EXPECT_TRUE(listsBecome(0, 0, 1));
        fake::advance(30);
        EXPECT_TRUE(listsBecome(0, 0, 0));
        EXPECT_EQ(
                fake::logCount("monitoring has been cancelled pid(7),name(KavelAnrRecoveryMonitor"),
                1u);
        EXPECT_EQ(fake::logCount(kFailed), 0u);
    }
    EXPECT_EQ(fake::takeDeeds(), Deeds());
}

// Would catch an end that is applied to the wrong watch of its process, or to both.
TEST_F(MonitorTest, EndCancelsTheEarlierOfTwoWatches) {
    startHeldWatches({7});
    startHeldWatches({7}, true);
    mMonitor.cancel_monitor(7);
    EXPECT_TRUE(listsBecome(0, 1, 1));
    fake::advance(5);
    ASSERT_TRUE(fake::awaitLog(kFailed));
    EXPECT_TRUE(listsBecome(0, 0, 1));
    fake::advance(25);
    EXPECT_TRUE(fake::awaitLog("cancelled pid(7),name(KavelAnrRecoveryMonitor)."));
    EXPECT_EQ(fake::logCount(kFailed), 1u);
}

// Would catch a cancelled watch that counts as listed, and a cancel that is lost among others.
TEST_F(MonitorTest, ElevenCancelledWatchesLeaveRoomForATwelfth) {
    for (int pid = 1; pid <= 12; ++pid) {
        startHeldWatches({pid});
        mMonitor.cancel_monitor(pid);
        ASSERT_TRUE(listsBecome(0, 0, static_cast<size_t>(pid)));
    }
    EXPECT_EQ(fake::logCount("new THREAD_NAME for 12, monitor_list size:1"), 1u);
    fake::advance(30);
    EXPECT_TRUE(fake::awaitLog("monitoring has been cancelled pid(", 12));
    EXPECT_EQ(fake::logCount(kFailed), 0u);
}

// Would catch a live cancel that makes room for cancels of watches that are gone.
TEST_F(MonitorTest, FloodOfOtherCancelsLeavesALiveOneAlone) {
    startHeldWatches({7});
    mMonitor.cancel_monitor(7);
    for (size_t pair = 1; pair <= 100; ++pair) {
        mMonitor.cancel_monitor(98);
        mMonitor.monitor(99, false);  // gone: its watch ends at once, its entry stays
        ASSERT_TRUE(fake::awaitLog("read A proc failed.", pair));
        mMonitor.cancel_monitor(99);
        ASSERT_TRUE(listsBecome(0, 0, 1));
    }
    fake::advance(30);
    EXPECT_TRUE(fake::awaitLog("monitoring has been cancelled pid(7)"));
    EXPECT_EQ(fake::logCount(kFailed), 0u);
}

// Would catch a watch that is said to run, or stays listed, without a thread, a request that is
// lost with the thread that was to serve it, and a cancel that outlives its watch.
TEST_F(MonitorTest, NoThread) {
    fake::holdSleeps(true);
    fake::setProcess(7, fake::process(10007));
    sRefusedThread = kAnrWatch;
    mMonitor.monitor(7, false);
    EXPECT_TRUE(fake::awaitLog("HandleThread::threadLoop]: no thread to watch 7: "));
    EXPECT_TRUE(listsBecome(0, 0, 0));
    EXPECT_EQ(fake::logCount("new THREAD_NAME"), 0u);

    for (const int pid : {7, 99}) {  // 99 is gone: its watch ends with the cancel in the list
        sRefusedThread = "handle_thread";
        mMonitor.monitor(pid, false);
        EXPECT_TRUE(listsBecome(1, 0, pid == 7 ? 0 : 1));
        sRefusedThread = "";
        mMonitor.cancel_monitor(pid);
        EXPECT_TRUE(listsBecome(0, 0, 1));
    }
    EXPECT_EQ(fake::logCount("[KavelAnrRecoveryMonitor::monitor]: no thread"), 2u);
}

// Would catch a cancel that is kept for a later watch.
TEST_F(MonitorTest, CancelAheadOfItsWatchIsLost) {
    mMonitor.cancel_monitor(7);
    ASSERT_TRUE(fake::awaitLog("cancel invalid pid(7)."));
    fake::setProcess(7, fake::process(10007));
    mMonitor.monitor(7, false);
    ASSERT_TRUE(fake::awaitLog(kFailed));
    EXPECT_TRUE(listsBecome(0, 0, 0));
}

// Would catch threads that pile up behind cancelled watches.
TEST_F(MonitorTest, RequestsWithoutEndMakeNoThreadsWithoutEnd) {
    constexpr int kMaxThreads = 31;
    for (int pid = 1; pid <= kMaxThreads; ++pid) {
        startHeldWatches({pid});
        mMonitor.cancel_monitor(pid);
        ASSERT_TRUE(listsBecome(0, 0, static_cast<size_t>(pid)));
    }
    EXPECT_EQ(mMonitor.monitor(99, false), 0);
    EXPECT_TRUE(fake::awaitLog("31 watches still run, none for 99"));
    EXPECT_TRUE(listsBecome(0, 0, kMaxThreads));
    fake::advance(30);
    EXPECT_TRUE(listsBecome(0, 0, 0));
}

// Would catch a lost entry that goes unnoticed.
TEST_F(MonitorTest, UnlistedWatchCancelsAllOthers) {
    startHeldWatches({1, 2});
    fake::setProcess(9, fake::process(9));
    const sp<KavelAnrRecoveryMonitor::MonitorThread> unlisted =
            new KavelAnrRecoveryMonitor::MonitorThread(&mMonitor, kAnrWatch, 9);
    EXPECT_TRUE(mMonitor.handle_anr_recovery(unlisted.get(), 0));
    EXPECT_EQ(fake::logCount("monitor_list bad list!!!"), 1u);
    EXPECT_TRUE(listsBecome(0, 0, 2));
    fake::clearLog();
    fake::advance(30);
    EXPECT_TRUE(listsBecome(0, 0, 0));
    EXPECT_EQ(fake::logCount(kFailed), 0u);
}

// Would catch an escalation that lets others in, or that never lets them in again.
TEST_F(MonitorTest, RequestsWaitForAnEscalationAndThenProceed) {
    mMonitor.setAnrTesting(true);
    std::promise<void> begun;
    std::promise<void> goOn;
    fake::onPropertyWait([&](const std::string& name) {
        EXPECT_EQ(name, kBootCompleted);
        begun.set_value();
        goOn.get_future().wait();
        mMonitor.setAnrTesting(false);
        base::SetProperty(kBootCompleted, "1");
    });
    fake::setProcess(7, fake::process(10007));
    fake::setProcess(8, fake::process(10008));
    mMonitor.monitor(7, false);
    begun.get_future().wait();

    auto watch = std::async(std::launch::async, [&] { return mMonitor.monitor(8, true); });
    auto cancel = std::async(std::launch::async, [&] { return mMonitor.cancel_monitor(9); });
    EXPECT_EQ(watch.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    EXPECT_EQ(cancel.wait_for(std::chrono::milliseconds(0)), std::future_status::timeout);
    goOn.set_value();
    EXPECT_EQ(watch.get(), 0);
    EXPECT_EQ(cancel.get(), 0);
    ASSERT_TRUE(fake::awaitLog("monitor timeout(5)."));
    ASSERT_TRUE(fake::awaitLog("cancel invalid pid(9)."));
    EXPECT_TRUE(listsBecome(0, 0, 0));
    EXPECT_EQ(fake::takeDeeds(), Deeds{kRestart});
}

// Would catch a race on lists or references, a lost request, and an entry that stays behind.
TEST_F(MonitorTest, HundredRequestsAtOnceLeaveEmptyLists) {
    constexpr int kThreads = 10;
    constexpr int kWatches = 5;  // of each thread, and as many cancels
    for (int pid = 1; pid <= kThreads * kWatches; ++pid) {
        fake::setProcess(pid, fake::process(10000 + pid));
    }
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([this, thread] {
            for (int i = 1; i <= kWatches; ++i) {
                const int pid = thread * kWatches + i;
                mMonitor.monitor(pid, pid % 2 == 0);
                mMonitor.cancel_monitor(pid);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(listsBecome(0, 0, 0));
    EXPECT_EQ(fake::logCount("bad list"), 0u);
}

}  // namespace
}  // namespace kavel
}  // namespace android
