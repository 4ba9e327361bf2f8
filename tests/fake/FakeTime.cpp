#include "tests/fake/FakeTime.h"

#include <android-base/properties.h>

#include "platform/Clock.h"
#include "platform/Mutex.h"
#include "platform/PropertyWait.h"
#include "platform/Sleep.h"

namespace android::kavel {
namespace fake {
namespace {

struct Time {
    Mutex lock;
    std::condition_variable changed;
    int64_t nowUs GUARDED_BY(lock) = 1'709'802'302'007'000;  // 7 March 2024, 09:05:02.007 UTC
    int64_t wallOffsetUs GUARDED_BY(lock) = 0;
    int64_t tickUs GUARDED_BY(lock) = 0;
    bool hold GUARDED_BY(lock) = false;
    int sleeping GUARDED_BY(lock) = 0;
    std::vector<uint64_t> sleeps GUARDED_BY(lock);
    std::function<void(uint64_t)> hook GUARDED_BY(lock);
};

/** Difference between the clocks, so that nothing works that takes one for the other. */
constexpr int64_t kMonotonicLeadNs = 4'000'000'000'000;

Time& time() {
    static auto* instance = new Time;
    return *instance;
}

std::function<void(uint64_t)> sleepHook() {
    MutexLock lock(time().lock);
    return time().hook;
}

int64_t nowUs() {
    MutexLock lock(time().lock);
    return time().nowUs;
}

int64_t wallUs() {
    MutexLock lock(time().lock);
    time().nowUs += time().tickUs;
    return time().nowUs + time().wallOffsetUs;
}

}  // namespace

void resetTime(int64_t wallClockUs) {
    MutexLock lock(time().lock);
    time().nowUs = wallClockUs;
    time().wallOffsetUs = 0;
    time().tickUs = 0;
    time().sleeps.clear();
}

void holdSleeps(bool hold) {
    MutexLock lock(time().lock);
    time().hold = hold;
    time().changed.notify_all();
}

void advance(int64_t seconds) {
    MutexLock lock(time().lock);
    time().nowUs += seconds * 1'000'000;
    time().changed.notify_all();
}

void tickAtEachReading() {
    MutexLock lock(time().lock);
    time().tickUs = 1;
}

void stepWallClock(int64_t seconds) {
    MutexLock lock(time().lock);
    time().wallOffsetUs += seconds * 1'000'000;
}

void onSleep(std::function<void(uint64_t seconds)> hook) {
    MutexLock lock(time().lock);
    time().hook = std::move(hook);
}

std::vector<uint64_t> sleeps() {
    MutexLock lock(time().lock);
    return time().sleeps;
}

void awaitSleepers(int count) {
    MutexLock lock(time().lock);
    while (time().sleeping < count) lock.wait(time().changed);
}

}  // namespace fake

void sleepSeconds(uint64_t seconds) {
    if (const auto hook = fake::sleepHook()) hook(seconds);
    fake::Time& time = fake::time();
    MutexLock lock(time.lock);
    time.sleeps.push_back(seconds);
    const int64_t end = time.nowUs + static_cast<int64_t>(seconds) * 1'000'000;
    ++time.sleeping;
    time.changed.notify_all();
    while (time.hold && time.nowUs < end) lock.wait(time.changed);
    --time.sleeping;
    if (!time.hold && time.nowUs < end) time.nowUs = end;
}

bool waitForProperty(const std::string& name, const std::string& value,
                     std::chrono::milliseconds timeout) {
    if (base::GetProperty(name, "") == value) return true;
    sleepSeconds(static_cast<uint64_t>(
            std::chrono::duration_cast<std::chrono::seconds>(timeout).count()));
    return base::GetProperty(name, "") == value;
}

int64_t wallClockUs() {
    return fake::wallUs();
}
int64_t realtimeNs() {
    return fake::wallUs() * 1000;
}
int64_t monotonicNs() {
    return fake::nowUs() * 1000 + fake::kMonotonicLeadNs;
}

}  // namespace android::kavel
