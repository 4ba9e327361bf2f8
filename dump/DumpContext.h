#pragma once

#include <atomic>
#include <cstdint>

#include "dump/CatchTable.h"
#include "dump/KavelThreadPool.h"
#include "dump/TechnicalCatches.h"
#include "event/EventParameters.h"
#include "event/KavelEvent.h"

namespace android::kavel {

/** Captures that leave their file outside the log folder, waiting to be packed. */
class PendingCaptures {
  public:
    /** Notes that @p bit has been started for the event of @p timestamp. */
    void start(uint32_t bit, const KavelTimestamp& timestamp);
    void clear(uint32_t bit) { mMask &= ~bit; }
    bool isPending(uint32_t bit) const { return (mMask & bit) != 0; }
    uint32_t mask() const { return mMask; }
    /** Wall-clock nanoseconds of the event for which @p bit was last started, or 0. */
    int64_t timeOf(uint32_t bit) const;

  private:
    std::atomic<uint32_t> mMask{0};
    mutable Mutex mLock;
    std::map<uint32_t, KavelTimestamp> mTimestamps GUARDED_BY(mLock);
};

/** At most one set of heavy dumps in thirty seconds, whatever the events. */
class HeavyDumpLimit {
  public:
    /** Takes the turn at @p nowNs (monotonic) where one is due. */
    bool tryTake(uint64_t nowNs);

    /** Whether a set is due at @p nowNs after one at @p lastNs; 0 means that there was none. */
    static bool isDue(uint64_t lastNs, uint64_t nowNs);

  private:
    std::atomic<uint64_t> mLastNs{0};
};

/** Everything that the dump threads share. Owned by the handler. */
struct DumpContext {
    explicit DumpContext(EventParameters& eventParameters);

    EventParameters& parameters;
    CatchTable catches{*this};
    TechnicalCatches technical;  // holds catches, so it ends before their table
    PendingCaptures captures;
    HeavyDumpLimit heavyDumps;
    /** Set while a time window is open whose folder further events join. */
    std::atomic<bool> combinedDumpRunning{false};
    /** Set when the next pack is to take the messaging app's logs along. */
    std::atomic<bool> xlogRequested{false};

    // After what their tasks use, so that they end before it.
    std::KavelThreadPool cmdPool;
    std::KavelThreadPool logcatPool;
    std::KavelThreadPool historyPool;  // given no work; its threads are part of the daemon's face
};

}  // namespace android::kavel
