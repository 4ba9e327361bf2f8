#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace android::kavel::fake {

/**
 * Virtual time behind platform/Clock.h, Sleep.h and PropertyWait.h. A wait for a property that has
 * not come counts as a sleep. A sleep ends at once and moves time on, unless sleeps are held: then
 * it ends when advance() has moved time past its end.
 */
void resetTime(int64_t wallClockUs);
void holdSleeps(bool hold);
void advance(int64_t seconds);
/** Until the next reset no two readings of the wall clock are the same: each moves time on by 1 us.
 */
void tickAtEachReading();
/** Moves the wall clock, and no other, by this much. */
void stepWallClock(int64_t seconds);
/** From now on @p hook is called on the sleeping thread before each sleep. */
void onSleep(std::function<void(uint64_t seconds)> hook);
/** From now on @p hook is called on the waiting thread before each wait for a property. */
void onPropertyWait(std::function<void(const std::string& name)> hook);
/** Every sleep so far, in seconds, in the order in which they began. */
std::vector<uint64_t> sleeps();
/** Blocks until @p count threads are in a held sleep. */
void awaitSleepers(int count);

}  // namespace android::kavel::fake
