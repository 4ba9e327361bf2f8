#pragma once

#include <cstdint>

namespace android::kavel {

/** Blocks the calling thread for @p seconds, signals notwithstanding. Any thread. */
void sleepSeconds(uint64_t seconds);

}  // namespace android::kavel
