#include "platform/Clock.h"

#include <chrono>

#include <utils/Timers.h>

namespace android::kavel {

int64_t wallClockUs() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(now).count();
}

int64_t realtimeNs() {
    return systemTime(SYSTEM_TIME_REALTIME);
}

int64_t monotonicNs() {
    return systemTime(SYSTEM_TIME_MONOTONIC);
}

}  // namespace android::kavel
