// The phone's own implementations, which the simulated phone and the fakes replace in all other
// programs. Would catch a signal that shortens a sleep, a sleep that is too long for the system
// call and so none, arguments in another order, a result that is not the library's, a trace
// category other than "view", whose bit is 8, a section that is not closed, and the wrong clock or
// unit.

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include <sys/time.h>
#include <unistd.h>

#include <android-base/properties.h>
#include <gtest/gtest.h>

#include "platform/Clock.h"
#include "platform/CommonPlxServiceManager.h"
#include "platform/PropertyWait.h"
#include "platform/Sleep.h"
#include "platform/TraceNativeUtils.h"
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

TEST(PhoneClock, ReadsTheSystemsClocks) {
    const auto nowNs = [](clockid_t clock) {
        timespec now;
        clock_gettime(clock, &now);
        return now.tv_sec * 1'000'000'000 + now.tv_nsec;
    };
    const int64_t monotonic = nowNs(CLOCK_MONOTONIC);
    const int64_t wall = nowNs(CLOCK_REALTIME);
    const double minute = 6e10;
    EXPECT_NEAR(static_cast<double>(monotonicNs() - monotonic), 0, minute);
    EXPECT_NEAR(static_cast<double>(realtimeNs() - wall), 0, minute);
    EXPECT_NEAR(static_cast<double>(wallClockUs() * 1000 - wall), 0, minute);
}

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

TEST(PhonePropertyWait, AsksTheLibrary) {
    EXPECT_TRUE(waitForProperty("sys.a", "1", 300s));
    EXPECT_EQ(waitedFor, std::make_tuple("sys.a", "1", 300'000ms));
    EXPECT_FALSE(waitForProperty("sys.a", "0", 5ms));
}

TEST(PhoneTraceSection, IsOfOneCategory) {
    for (const uint64_t tags : {~uint64_t{8}, uint64_t{8}}) {
        enabledTags = tags;
        const TraceSection section(tags == 8 ? "view" : "another category");
    }
    EXPECT_EQ(traceCalls, (std::vector<std::string>{"view", "end"}));
}

void sendStatistic() {
    auto* const client = CommonPlxServiceManager::getDefaultCommonPlxServiceManager();
    if (client == nullptr) _exit(1);
    client->sendToPlxFromCommonPlx("power", "Kavel", {{"logType", "8"}, {"error_id", ""}});
}

void stopTracing() {
    auto* const utils = TraceNativeUtils::getInstance();
    if (utils == nullptr) _exit(1);
    utils->stopDravoTracing("dravo_kavel", true, false);
}

// The adapters that were found are kept, so each case needs its own process.
TEST(AdaptersDeathTest, AreFoundByName) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";  // starts the program again
    const std::string noClient = " \\[dravo_kavel\\]: no data-collection client: ";
    const std::string noUtility = " \\[dravo_kavel\\]: no native trace utility: ";
    const struct {
        const char* libraries;
        void (*use)();
        int exitCode;
        std::string output;
    } rows[] = {
            {KAVEL_ADAPTERS "/whole", sendStatistic, 0, "send power Kavel logType=8 error_id=;"},
            {KAVEL_ADAPTERS "/whole", stopTracing, 0, "stop dravo_kavel 1 0;"},
            {KAVEL_ADAPTERS "/hollow", sendStatistic, 1, noClient + ".*kavel_plx_send"},
            {KAVEL_ADAPTERS "/hollow", stopTracing, 1, noUtility + ".*kavel_stop_tracing"},
            {KAVEL_ADAPTERS, sendStatistic, 1, noClient + "libkavel_plx_client.so"},
            {KAVEL_ADAPTERS, stopTracing, 1, noUtility + "libkavel_trace_client.so"},
    };
    for (const auto& row : rows) {
        setenv("LD_LIBRARY_PATH", row.libraries, 1);
        EXPECT_EXIT(row.use(), testing::ExitedWithCode(row.exitCode), row.output) << row.libraries;
    }
}

}  // namespace
}  // namespace android::kavel
