// The maker's adapters as the phone's dynamic linker finds them. What was found is kept, so each
// case runs in a process of its own.

#include <cstdlib>

#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/CommonPlxServiceManager.h"
#include "platform/TraceNativeUtils.h"

namespace android {
namespace {

constexpr unsigned kPatienceSeconds = 60;

/** Waits until the adapter ends the process. */
[[noreturn]] void awaitAdapter() {
    alarm(kPatienceSeconds);
    for (;;) pause();
}

void sendStatistic() {
    auto* const client = CommonPlxServiceManager::getDefaultCommonPlxServiceManager();
    if (client == nullptr) _exit(1);
    client->sendToPlxFromCommonPlx("power", "Kavel", {{"logType", "8"}, {"error_id", ""}});
    awaitAdapter();
}

void stopTracing() {
    auto* const utils = TraceNativeUtils::getInstance();
    if (utils == nullptr) _exit(1);
    utils->stopDravoTracing("dravo_kavel", true, false);
    awaitAdapter();
}

// Would catch another name of library or function, arguments that the adapter reads otherwise, and
// a crash of the daemon where a device lacks the library or has another one of that name.
TEST(AdaptersDeathTest, AreFoundByName) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";  // starts the program again
    const struct {
        const char* libraries;
        void (*use)();
        int exitCode;
        const char* output;
    } rows[] = {
            {KAVEL_ADAPTERS "/whole", sendStatistic, 0, "send power Kavel logType=8 error_id=;"},
            {KAVEL_ADAPTERS "/whole", stopTracing, 0, "stop dravo_kavel 1 0;"},
            {KAVEL_ADAPTERS "/hollow", sendStatistic, 1,
             "dravo_kavel.: no data-collection client: .*kavel_plx_send"},
            {KAVEL_ADAPTERS "/hollow", stopTracing, 1,
             "dravo_kavel.: no native trace utility: .*kavel_stop_tracing"},
            {KAVEL_ADAPTERS, sendStatistic, 1,
             "dravo_kavel.: no data-collection client: libkavel_plx_client.so"},
            {KAVEL_ADAPTERS, stopTracing, 1,
             "dravo_kavel.: no native trace utility: libkavel_trace_client.so"},
    };
    for (const auto& row : rows) {
        setenv("LD_LIBRARY_PATH", row.libraries, 1);
        EXPECT_EXIT(row.use(), testing::ExitedWithCode(row.exitCode), row.output) << row.libraries;
    }
}

}  // namespace
}  // namespace android
