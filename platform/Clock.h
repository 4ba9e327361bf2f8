#pragma once

#include <cstdint>

namespace android::kavel {

/** Wall-clock time in microseconds since the epoch. */
int64_t wallClockUs();

/** Wall-clock time in nanoseconds since the epoch (SYSTEM_TIME_REALTIME). */
int64_t realtimeNs();

/** Nanoseconds of a clock that never goes back (SYSTEM_TIME_MONOTONIC). */
int64_t monotonicNs();

}  // namespace android::kavel
