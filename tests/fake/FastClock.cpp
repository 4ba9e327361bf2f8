#include "tests/fake/FastClock.h"

#include <atomic>
#include <chrono>

#include <poll.h>
#include <pthread.h>
#include <time.h>

#ifdef _LIBCPP_VERSION

namespace android::kavel::fake {
FastClock::FastClock(int /*speed*/) {}
FastClock::~FastClock() = default;
}  // namespace android::kavel::fake

#else

namespace {

using std::chrono::nanoseconds;
using std::chrono::seconds;
using TimePoint = std::chrono::steady_clock::time_point;

std::atomic<int> clockSpeed{1};
std::atomic<TimePoint> fastSince{};

}  // namespace

// The linker replaces the calls in the program by these (see tests/CMakeLists.txt), but not those
// in libraries. A function that returns a class has its name as an attribute.
TimePoint realNow() __asm__("__real__ZNSt6chrono3_V212steady_clock3nowEv");
TimePoint fastNow() __asm__("__wrap__ZNSt6chrono3_V212steady_clock3nowEv");
TimePoint fastNow() {
    const TimePoint now = realNow();
    return now + (now - fastSince.load()) * (clockSpeed - 1);
}

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): names that the linker's --wrap asks for
int __real_poll(pollfd* files, nfds_t count, int timeout);
int __wrap_poll(pollfd* files, nfds_t count, int timeout) {
    const int speed = clockSpeed;
    return __real_poll(files, count, timeout <= 0 ? timeout : (timeout + speed - 1) / speed);
}
int __real_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  clockid_t clock, const timespec* end);
int __wrap_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  clockid_t clock, const timespec* end) {
    const TimePoint since = fastSince;
    const auto wait = TimePoint(seconds(end->tv_sec) + nanoseconds(end->tv_nsec)) - since;
    const nanoseconds realEnd = since.time_since_epoch() + wait / clockSpeed.load();
    const timespec time = {realEnd / seconds(1), (realEnd % seconds(1)).count()};
    return __real_pthread_cond_clockwait(condition, mutex, clock, &time);
}
// NOLINTEND(bugprone-reserved-identifier)
}

namespace android::kavel::fake {

FastClock::FastClock(int speed) {
    fastSince = realNow();
    clockSpeed = speed;
}

FastClock::~FastClock() {
    clockSpeed = 1;
}

}  // namespace android::kavel::fake

#endif
