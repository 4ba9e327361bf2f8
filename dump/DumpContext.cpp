#include "dump/DumpContext.h"

#include <system_error>

#include "platform/Log.h"

namespace android::kavel {
namespace {

constexpr uint64_t kHeavyDumpIntervalNs = 30'000'000'000;

/** Starts the first threads of @p pool. If none can be created, its first task tries again. */
void start(std::KavelThreadPool& pool, uint16_t count) {
    try {
        pool.addThread(count);
    } catch (const std::system_error& e) {
        KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel addThread]: no thread: %s\n", e.what());
    }
}

}  // namespace

void PendingCaptures::start(uint32_t bit, const KavelTimestamp& timestamp) {
    MutexLock lock(mLock);
    mTimestamps[bit] = timestamp;
    mMask |= bit;  // after its time: a thread that sees the bit reads the time
}

int64_t PendingCaptures::timeOf(uint32_t bit) const {
    MutexLock lock(mLock);
    const auto entry = mTimestamps.find(bit);
    return entry == mTimestamps.end() ? 0 : entry->second.realtimeNs;
}

bool HeavyDumpLimit::isDue(uint64_t lastNs, uint64_t nowNs) {
    return lastNs == 0 || nowNs - lastNs > kHeavyDumpIntervalNs;
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
    start(cmdPool, 5);
    start(logcatPool, 1);
    start(historyPool, 1);
}

}  // namespace android::kavel
