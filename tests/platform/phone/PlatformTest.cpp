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
#include <utility>
#include <vector>

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
    const std::pair<int64_t, clockid_t> rows[] = {{monotonicNs(), CLOCK_MONOTONIC},
                                                  {realtimeNs(), CLOCK_REALTIME},
                                                  {wallClockUs() * 1000, CLOCK_REALTIME}};
    for (const auto& [ns, clock] : rows) {
        timespec now;
        clock_gettime(clock, &now);
        EXPECT_NEAR(static_cast<double>(ns) / 1e9, static_cast<double>(now.tv_sec), 60);
    }
}

TEST(PhoneSleepDeathTest, OutlastsSignalsAndTheSystemCallsLimit) {
    for (const uint64_t seconds : {uint64_t{1} << 32, std::numeric_limits<uint64_t>::max()}) {
        const auto endsEarly = [&] {
            alarm(1);
            sleepSeconds(seconds);
            _exit(1);
        };
        EXPECT_EXIT(endsEarly(), testing::KilledBySignal(SIGALRM), "") << seconds;
    }
    signal(SIGALRM, [](int) {});
    ualarm(30'000, 30'000);
    const auto begin = std::chrono::steady_clock::now();
    sleepSeconds(1);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 1s);
    ualarm(0, 0);
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

// The adapters that were found are kept, so each case needs its own process.
TEST(AdaptersDeathTest, AreFoundByName) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";  // starts the program again
    const auto sendStatistic = [] {
        auto* const client = CommonPlxServiceManager::getDefaultCommonPlxServiceManager();
        if (client == nullptr) _exit(1);
        client->sendToPlxFromCommonPlx("power", "Kavel", {{"logType", "8"}, {"error_id", ""}});
    };
    const auto stopTracing = [] {
        auto* const utils = TraceNativeUtils::getInstance();
        if (utils == nullptr) _exit(1);
        utils->stopDravoTracing("dravo_kavel", true, false);
    };
    const struct {
        const char* libraries;
        const char* sends;
        const char* stops;
    } rows[] = {
            {KAVEL_ADAPTERS "/whole", "^send power Kavel logType=8 error_id=;",
             "^stop dravo_kavel 1 0;"},
            {KAVEL_ADAPTERS "/hollow", "no data-collection client: .*kavel_plx_send",
             "no native trace utility: .*kavel_stop_tracing"},
            {KAVEL_ADAPTERS, "no data-collection client: libkavel_plx_client.so",
             "no native trace utility: libkavel_trace_client.so"},
    };
    for (const auto& row : rows) {
        setenv("LD_LIBRARY_PATH", row.libraries, 1);
        const testing::ExitedWithCode exits(row.sends[0] == '^' ? 0 : 1);
        EXPECT_EXIT(sendStatistic(), exits, row.sends) << row.libraries;
        EXPECT_EXIT(stopTracing(), exits, row.stops) << row.libraries;
    }
}

}  // namespace
}  // namespace android::kavel
