#pragma once

#include <cstdint>

#include "platform/Mutex.h"

namespace android::kavel {

/** Notices that the wall clock was set back between two reports. One leaf lock; any thread. */
class ClockWatch {
  public:
    /**
     * Compares a reading of both clocks with the latest one before it.
     *
     * @return nanoseconds by which the wall clock has gone back; 0 if by no more than a second, by
     *         which clocks are corrected in daily use, or if another thread's reading is younger
     */
    int64_t steppedBack(int64_t wallNs, int64_t monotonicNs);

  private:
    Mutex mLock;
    int64_t mWallNs GUARDED_BY(mLock) = 0;
    int64_t mMonotonicNs GUARDED_BY(mLock) = 0;
};

}  // namespace android::kavel
