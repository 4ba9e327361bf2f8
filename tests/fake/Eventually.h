#pragma once

#include <chrono>
#include <thread>

#include <time.h>

namespace android::kavel::test {

/**
 * Polls @p condition until it is true. Returns false after three minutes, by the real clock: only a
 * fault takes so long, also on a busy machine.
 */
template <class Condition>
bool eventually(Condition condition) {
    const auto seconds = [] {
        timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return now.tv_sec;
    };
    const auto deadline = seconds() + 180;
    while (!condition()) {
        if (seconds() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

}  // namespace android::kavel::test
