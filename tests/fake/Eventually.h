#pragma once

#include <chrono>
#include <thread>

namespace android::kavel::test {

/** Polls @p condition until it is true. Returns false after a minute: only a fault takes so long.
 */
template <class Condition>
bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

}  // namespace android::kavel::test
