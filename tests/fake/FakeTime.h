#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace android::kavel::fake {

/**
 * Virtual time behind platform/Clock.h and platform/Sleep.h. A sleep ends at once and moves time
 * on, unless sleeps are held: then it ends when advance() has moved time past its end.
 */
void resetTime(int64_t wallClockUs);
void holdSleeps(bool hold);
void advance(int64_t seconds);
/** From now on @p hook is called on the sleeping thread before each sleep. */
void onSleep(std::function<void(uint64_t seconds)> hook);
/** Every sleep so far, in seconds, in the order in which they began. */
std::vector<uint64_t> sleeps();
/** Blocks until @p count threads are in a held sleep. */
void awaitSleepers(int count);

}  // namespace android::kavel::fake
