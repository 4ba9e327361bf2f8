#include "platform/Sleep.h"

#include <cerrno>
#include <cmath>
#include <ctime>

#include "host/system/TimeScale.h"

namespace android::kavel {

namespace {

/** Maximum sleep in seconds: longer than any wait, but still an int64 in nanoseconds. */
constexpr double kLongestSleep = 4e9;

}  // namespace

void sleepSeconds(uint64_t seconds) {
    constexpr long kNanosPerSecond = 1'000'000'000;
    const double scaled =
            std::fmin(static_cast<double>(seconds) / host::timeScale(), kLongestSleep);
    double whole = 0;
    const double fraction = std::modf(scaled, &whole);

    // An absolute time, so that signals do not make the sleep longer.
    timespec end{};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += static_cast<time_t>(whole);
    end.tv_nsec += static_cast<long>(fraction * static_cast<double>(kNanosPerSecond));
    if (end.tv_nsec >= kNanosPerSecond) {
        end.tv_nsec -= kNanosPerSecond;
        ++end.tv_sec;
    }
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}

}  // namespace android::kavel
