// The phone's own implementations: everywhere else the simulated phone's or a fake takes their
// place.

#include <chrono>
#include <csignal>
#include <cstdint>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include <sys/time.h>
#include <unistd.h>

#include <android-base/properties.h>
#include <gtest/gtest.h>

#include "platform/PropertyWait.h"
#include "platform/Sleep.h"
#include "platform/TraceSection.h"

using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)

namespace {

std::tuple<std::string, std::string, std::chrono::milliseconds> waitedFor;
uint64_t enabledTags;
std::vector<std::string> traceCalls;

}  // namespace

bool android::base::WaitForProperty(const std::string& name, const std::string& value,
                                    std::chrono::milliseconds timeout) {
    waitedFor = {name, value, timeout};
    return value == "1";
}

// What the inline functions of <cutils/trace.h> call.
uint64_t atrace_get_enabled_tags() {
    return enabledTags;
}
extern "C" void atrace_begin_body(const char* name) {
    traceCalls.emplace_back(name);
}
extern "C" void atrace_end_body() {
    traceCalls.emplace_back("end");
}

namespace android::kavel {
namespace {

// Would catch a signal that shortens a sleep: sleep(3) returns whole seconds only.
TEST(PhoneSleep, SignalsDoNotShortenIt) {
    signal(SIGALRM, [](int) {});
    const itimerval often = {{0, 30'000}, {0, 30'000}};
    setitimer(ITIMER_REAL, &often, nullptr);
    const auto begin = std::chrono::steady_clock::now();
    sleepSeconds(1);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 1s);
    const itimerval off = {};
    setitimer(ITIMER_REAL, &off, nullptr);
    signal(SIGALRM, SIG_DFL);
}

// Would catch a number that the system call refuses, or that overflows: the sleep would be none.
TEST(PhoneSleepDeathTest, SleepsForEver) {
    for (const uint64_t seconds : {uint64_t{1} << 32, std::numeric_limits<uint64_t>::max()}) {
        const auto endsEarly = [&] {
            alarm(1);
            sleepSeconds(seconds);
            _exit(1);
        };
        EXPECT_EXIT(endsEarly(), testing::KilledBySignal(SIGALRM), "") << seconds;
    }
}

// Would catch arguments out of order, and an answer that is not the library's.
TEST(PhonePropertyWait, AsksTheLibrary) {
    EXPECT_TRUE(waitForProperty("sys.a", "1", 300s));
    EXPECT_EQ(waitedFor, std::make_tuple("sys.a", "1", 300'000ms));
    EXPECT_FALSE(waitForProperty("sys.a", "0", 5ms));
}

// Would catch a category other than "view", whose bit is 8, and a section that is not closed.
TEST(PhoneTraceSection, IsOfOneCategory) {
    for (const uint64_t tags : {~uint64_t{8}, uint64_t{8}}) {
        enabledTags = tags;
        const TraceSection section(tags == 8 ? "view" : "another category");
    }
    EXPECT_EQ(traceCalls, (std::vector<std::string>{"view", "end"}));
}

}  // namespace
}  // namespace android::kavel
