#pragma once

#include <atomic>
#include <cstdint>

#include "dump/CatchTable.h"
#include "dump/KavelThreadPool.h"
#include "dump/TechnicalCatches.h"
#include "event/EventParameters.h"
#include "event/KavelEvent.h"

namespace android::kavel {

/** Captures whose files are outside the log folder and have not been packed yet. */
class PendingCaptures {
  public:
    /** Notes that @p bit was started for an event with the time @p timestamp. */
    void start(uint32_t bit, const KavelTimestamp& timestamp);
    void clear(uint32_t bit) { mMask &= ~bit; }
    bool isPending(uint32_t bit) const { return (mMask & bit) != 0; }
    /** Returns the wall-clock nanoseconds of the event for which @p bit was last started, or 0. */
    int64_t timeOf(uint32_t bit) const;

  private:
    std::atomic<uint32_t> mMask{0};
    mutable Mutex mLock;
    std::map<uint32_t, KavelTimestamp> mTimestamps GUARDED_BY(mLock);
};

/** Limits heavy dumps to one set in thirty seconds, for all events together. */
class HeavyDumpLimit {
  public:
    /** Records a set at @p nowNs (monotonic) if one is due. Returns whether it did. */
    bool tryTake(uint64_t nowNs);

  private:
    std::atomic<uint64_t> mLastNs{0};
};

/** State that all dump threads share. Owned by the handler. */
struct DumpContext {
    explicit DumpContext(EventParameters& eventParameters);

    EventParameters& parameters;
    CatchTable catches{*this};
    TechnicalCatches technical;  // refers to catches, so it must be destroyed before their table
    PendingCaptures captures;
    HeavyDumpLimit heavyDumps;
    /** Set while a time window is open and further events join its folder. */
    std::atomic<bool> combinedDumpRunning{false};
    /** Set if the next pack must include the messaging app's logs. */
    std::atomic<bool> xlogRequested{false};

    // Declared last, so that the pools end before the objects that their tasks use.
    std::KavelThreadPool cmdPool;
    std::KavelThreadPool logcatPool;
    std::KavelThreadPool historyPool;  // unused; kept because its threads are expected to exist
};

}  // namespace android::kavel
