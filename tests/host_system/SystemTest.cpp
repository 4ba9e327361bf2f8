// Would catch a scale that is not applied, and a signal that ends or stretches a sleep.

#include <gtest/gtest.h>
#include <sys/time.h>

#include <chrono>
#include <csignal>

#include "platform/Sleep.h"

TEST(Sleep, IsScaledAndOutlastsSignals) {
    signal(SIGALRM, [](int) {});
    const itimerval every3ms{{0, 3000}, {0, 3000}};
    setitimer(ITIMER_REAL, &every3ms, nullptr);
    const struct {
        const char* scale;
        uint64_t seconds;
        double least;
    } cases[] = {
            {"1000", 300, 0.3}, {"2.5", 1, 0.4}, {"0.5", 0, 0}, {"1e30", UINT64_MAX, 0},
            {"x", 1, 1},        {"-9", 1, 1},    {"nan", 0, 0},
    };
    for (const auto& each : cases) {
        setenv("KAVEL_HOST_TIME_SCALE", each.scale, 1);
        const auto start = std::chrono::steady_clock::now();
        android::kavel::sleepSeconds(each.seconds);
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        EXPECT_GE(time.count(), each.least) << each.scale;
        EXPECT_LT(time.count(), each.least + 5) << each.scale;
    }
}
