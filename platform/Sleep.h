#pragma once

#include <cstdint>

namespace android::kavel {

/** Blocks the calling thread for @p seconds, even if signals arrive. Any thread. */
void sleepSeconds(uint64_t seconds);

}  // namespace android::kavel
