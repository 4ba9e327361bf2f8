#pragma once

#include <chrono>
#include <thread>

namespace android::kavel::test {

/** Whether @p condition comes true within a time that only a fault can use up. */
template <class Condition>
bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::yield();
    }
    return true;
}

}  // namespace android::kavel::test
