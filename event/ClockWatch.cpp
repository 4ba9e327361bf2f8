#include "event/ClockWatch.h"

#include <utility>

namespace android::kavel {
namespace {

constexpr int64_t kTolerance = 1'000'000'000;

}  // namespace

int64_t ClockWatch::steppedBack(int64_t wallNs, int64_t monotonicNs) {
    MutexLock lock(mLock);
    if (monotonicNs < mMonotonicNs) return 0;
    mMonotonicNs = monotonicNs;
    const int64_t before = std::exchange(mWallNs, wallNs);
    return wallNs < before - kTolerance ? before - wallNs : 0;
}

}  // namespace android::kavel
