#pragma once

#include <cstdint>

namespace android::kavel {

/**
 * Limits the log lines of a failure that repeats: logs the first failure of a run, then each time
 * their number has doubled. Not synchronised.
 */
class RepeatCounter {
  public:
    /** Counts one more failure. Returns whether to log it. */
    bool add() {
        ++mCount;
        return (mCount & (mCount - 1)) == 0;
    }
    /** Number of failures in the current run. */
    uint64_t count() const { return mCount; }
    void reset() { mCount = 0; }

  private:
    uint64_t mCount = 0;
};

}  // namespace android::kavel
