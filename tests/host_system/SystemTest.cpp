#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/time.h>
#include <utils/Thread.h>

#include <chrono>
#include <csignal>
#include <string>

#include "platform/Sleep.h"

namespace android::kavel::host {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class NamedThread : public Thread {
  public:
    NamedThread() : Thread(false) {}
    std::string name;

  private:
    bool threadLoop() override {
        char text[16];
        pthread_getname_np(pthread_self(), text, sizeof(text));
        name = text;
        return false;
    }
};

// Would catch a thread without its name.
TEST(ThreadRun, NamesTheThread) {
    const sp<NamedThread> thread = new NamedThread;
    ASSERT_EQ(thread->run("dravo_kavel_kevent"), OK);
    EXPECT_EQ(thread->join(), OK);
    EXPECT_EQ(thread->name, "dravo_kavel_kev");
}

// Would catch a scale that is not applied, and a signal that ends or stretches a sleep.
TEST(Sleep, IsScaledAndOutlastsSignals) {
    signal(SIGALRM, [](int) {});
    const itimerval every3ms{{0, 3000}, {0, 3000}};
    setitimer(ITIMER_REAL, &every3ms, nullptr);
    const struct {
        const char* scale;
        uint64_t seconds;
        int least;
    } cases[] = {
            {"1000", 300, 300}, {"2.5", 1, 400}, {"0.5", 0, 0}, {"1e30", UINT64_MAX, 0},
            {"x", 1, 1000},     {"-9", 1, 1000}, {"nan", 0, 0},
    };
    for (const auto& each : cases) {
        setenv("KAVEL_HOST_TIME_SCALE", each.scale, 1);
        const auto start = steady_clock::now();
        sleepSeconds(each.seconds);
        const auto time = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
        EXPECT_GE(time.count(), each.least) << each.scale;
        EXPECT_LT(time.count(), each.least + 5000) << each.scale;
    }
    setitimer(ITIMER_REAL, nullptr, nullptr);
    unsetenv("KAVEL_HOST_TIME_SCALE");
}

}  // namespace
}  // namespace android::kavel::host
