#pragma once

#include <cstdint>

#include "platform/Mutex.h"

namespace android::kavel {

/** Detects that the wall clock was set back between two reports. One leaf lock; any thread. */
class ClockWatch {
  public:
    /**
     * Compares a reading of both clocks with the latest earlier one.
     *
     * @return nanoseconds by which the wall clock has gone back against the monotonic clock; 0 if
     * it is about a second or less (ordinary clock corrections) or if another thread has passed a
     * newer reading
     */
    int64_t steppedBack(int64_t wallNs, int64_t monotonicNs);

  private:
    Mutex mLock;
    int64_t mWallNs GUARDED_BY(mLock) = 0;
    int64_t mMonotonicNs GUARDED_BY(mLock) = 0;
};

}  // namespace android::kavel
