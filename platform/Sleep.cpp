#include "platform/Sleep.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <limits>

namespace android::kavel {

void sleepSeconds(uint64_t seconds) {
    constexpr uint64_t kLongest = std::numeric_limits<time_t>::max();
    timespec left = {static_cast<time_t>(std::min(seconds, kLongest)), 0};
    // Not sleep(3): after a signal it returns the remaining time rounded down to seconds.
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

}  // namespace android::kavel
