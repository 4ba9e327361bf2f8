#include "dump/DumpContext.h"

namespace android::kavel {
namespace {

constexpr uint64_t kHeavyDumpIntervalNs = 30'000'000'000;

/** Whether a set is due at @p nowNs if the last one was at @p lastNs; 0 if there was none. */
bool isDue(uint64_t lastNs, uint64_t nowNs) {
    return lastNs == 0 || nowNs - lastNs > kHeavyDumpIntervalNs;
}

}  // namespace

void PendingCaptures::start(uint32_t bit, const KavelTimestamp& timestamp) {
    MutexLock lock(mLock);
    mTimestamps[bit] = timestamp;
    mMask |= bit;  // set after the time, so that the time is there when the bit is seen
}

int64_t PendingCaptures::timeOf(uint32_t bit) const {
    MutexLock lock(mLock);
    const auto entry = mTimestamps.find(bit);
    return entry == mTimestamps.end() ? 0 : entry->second.realtimeNs;
}

bool HeavyDumpLimit::tryTake(uint64_t nowNs) {
    uint64_t last = mLastNs;
    // Another thread may have taken the turn with a later time after this one read the clock.
    return (last <= nowNs) && isDue(last, nowNs) && mLastNs.compare_exchange_strong(last, nowNs);
}

DumpContext::DumpContext(EventParameters& eventParameters)
      : parameters(eventParameters),
        cmdPool("kavel_tp_cmd", 5, 10),
        logcatPool("kavel_tp_logcat", 1, 1),
        historyPool("kavel_tp_history", 1, 5) {
    cmdPool.addThread(5);
    logcatPool.addThread(1);
    historyPool.addThread(1);
}

}  // namespace android::kavel
