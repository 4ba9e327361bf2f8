#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "dump/CatchTable.h"
#include "platform/Mutex.h"

namespace android::kavel {

/**
 * Technical catches of a commercial build that no abnormal action has claimed. The folder of a
 * technical event is packed only by the abnormal action next to it. Any thread; leaf lock.
 */
class TechnicalCatches {
  public:
    /** Number of catches that are kept regardless of age. */
    static constexpr size_t kUsual = 8;
    /** Maximum age of further catches: an abnormal action may still claim them. */
    static constexpr int64_t kClaimTimeNs = 70'000'000'000;
    /** Maximum number of catches: abnormal actions search only the event list. */
    static constexpr size_t kMost = kEventListSize;

    /** Stores @p running. Returns the catches that it replaced, whose folders must be removed. */
    std::vector<CatchRef> keep(const CatchRef& running, int64_t nowNs);
    /** Removes and returns the catch of @p event; null if there is none. */
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
