#pragma once

#include <chrono>
#include <thread>

namespace android::kavel::test {

/** Whether @p condition, looked at every few milliseconds, comes true within a time that only a
 * fault can use up. */
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
