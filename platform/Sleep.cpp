#include "platform/Sleep.h"

#include <algorithm>
#include <limits>

#include <unistd.h>

namespace android::kavel {

void sleepSeconds(uint64_t seconds) {
    // sleep(3) takes an unsigned int and returns early, with the rest, after a signal.
    constexpr uint64_t kMaxSlice = std::numeric_limits<unsigned int>::max();
    while (seconds > 0) {
        const uint64_t slice = std::min(seconds, kMaxSlice);
        const unsigned int left = ::sleep(static_cast<unsigned int>(slice));
        seconds -= slice - left;
    }
}

}  // namespace android::kavel
