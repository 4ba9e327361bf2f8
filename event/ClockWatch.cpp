#include "event/ClockWatch.h"

#include <utility>

namespace android::kavel {
namespace {

constexpr int64_t kTolerance = 1'000'000'000;
/** Divisor: an adjusted clock may deviate by this part of the elapsed time. */
constexpr int64_t kDrift = 1000;

}  // namespace

int64_t ClockWatch::steppedBack(int64_t wallNs, int64_t monotonicNs) {
    MutexLock lock(mLock);
    if (monotonicNs < mMonotonicNs) return 0;
    const int64_t passed = monotonicNs - std::exchange(mMonotonicNs, monotonicNs);
    const int64_t shown = wallNs - std::exchange(mWallNs, wallNs);
    // The monotonic clock does not count the time in suspend, which can hide a step but not make
    // one.
    const int64_t back = passed - shown;
    return back > kTolerance + passed / kDrift ? back : 0;
}

}  // namespace android::kavel
