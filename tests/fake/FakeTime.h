#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace android::kavel::fake {

/**
 * Virtual time for platform/Clock.h, Sleep.h and PropertyWait.h. A wait for a property counts as a
 * sleep if the property does not have the value. A sleep ends at once and advances the time. If
 * sleeps are held, it ends when advance() has reached its end.
 */
void resetTime(int64_t wallClockUs);
void holdSleeps(bool hold);
void advance(int64_t seconds);
/** Until the next reset, each reading of the wall clock advances the time by 1 us. */
void tickAtEachReading();
/** Changes the wall clock but not the monotonic clock. */
void stepWallClock(int64_t seconds);
/** Sets a function to call before each sleep, on the sleeping thread. */
void onSleep(std::function<void(uint64_t seconds)> hook);
/** Returns the sleeps since the last reset, in seconds, in the order of their start. */
std::vector<uint64_t> sleeps();
/** Waits until @p count threads are in a held sleep. */
void awaitSleepers(int count);

}  // namespace android::kavel::fake
