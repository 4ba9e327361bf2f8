#pragma once

#include <cstdint>

namespace android::kavel {

/**
 * Thins the log lines of a failure that repeats at once: the first of an unbroken run is worth a
 * line, after that each doubling of their number. Not synchronised.
 */
class RepeatCounter {
  public:
    /** Counts one more failure; whether to log it. */
    bool add() {
        ++mCount;
        return (mCount & (mCount - 1)) == 0;
    }
    /** Failures of the run so far. */
    uint64_t count() const { return mCount; }
    void reset() { mCount = 0; }

  private:
    uint64_t mCount = 0;
};

}  // namespace android::kavel
