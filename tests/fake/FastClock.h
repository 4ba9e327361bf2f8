#pragma once

namespace android::kavel::fake {

/**
 * While it exists, std::chrono::steady_clock runs @p speed times as fast, and the waits of poll()
 * and of condition variables end that much sooner. No wait may begin in its life and end after it.
 * Does nothing with libc++, where the waits take their real time.
 */
class FastClock {
  public:
    explicit FastClock(int speed);
    ~FastClock();
    FastClock(const FastClock&) = delete;
    FastClock& operator=(const FastClock&) = delete;
};

}  // namespace android::kavel::fake
