#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "dump/CatchTable.h"
#include "platform/Mutex.h"

namespace android::kavel {

/**
 * The technical catches of a commercial build that no abnormal action has claimed yet: nobody packs
 * a technical event's folder but the abnormal action next to it. Any thread; leaf lock.
 */
class TechnicalCatches {
  public:
    /** So many are kept, however old. */
    static constexpr size_t kUsual = 8;
    /** More than that only while an abnormal action may still come and claim them ... */
    static constexpr int64_t kClaimTimeNs = 70'000'000'000;
    /** ... and in no case more than the event list, where an abnormal action looks for them. */
    static constexpr size_t kMost = 31;

    /** Keeps @p running; returns those that it pushed out, whose folders are to be removed. */
    std::vector<CatchRef> keep(const CatchRef& running, int64_t nowNs);
    /** Hands over the catch of @p event; null where it is not kept. */
    CatchRef claim(const EventRef& event);

  private:
    struct Kept {
        CatchRef running;
        int64_t sinceNs;
    };

    Mutex mLock;
    std::deque<Kept> mKept GUARDED_BY(mLock);  // oldest first
};

}  // namespace android::kavel
