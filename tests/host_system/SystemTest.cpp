#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/time.h>
#include <utils/Thread.h>

#include <chrono>
#include <csignal>
#include <future>

#include "platform/Sleep.h"
#include "tests/fake/Eventually.h"

namespace android::kavel::host {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class TestThread : public Thread {
  public:
    TestThread(std::promise<std::string>* name, std::future<void> mayEnd)
          : Thread(false), mName(name), mMayEnd(std::move(mayEnd)) {}

  private:
    bool threadLoop() override {
        mMayEnd.wait();
        char text[16];
        pthread_getname_np(pthread_self(), text, sizeof(text));
        mName->set_value(text);
        return false;
    }

    std::promise<std::string>* const mName;
    const std::future<void> mMayEnd;
};

// Would catch a thread without its name, and one that does not keep itself while it runs.
TEST(ThreadRun, NamesTheThreadAndKeepsItsLife) {
    std::promise<std::string> name;
    std::promise<void> mayEnd;
    sp<TestThread> thread = new TestThread(&name, mayEnd.get_future());
    ASSERT_EQ(thread->run("dravo_kavel_kevent"), OK);
    EXPECT_EQ(thread->run("again"), INVALID_OPERATION);
    const wp<TestThread> seen = thread;
    thread.clear();
    EXPECT_NE(seen.promote(), nullptr);
    mayEnd.set_value();
    EXPECT_EQ(name.get_future().get(), "dravo_kavel_kev");
    EXPECT_TRUE(test::eventually([&] { return seen.promote() == nullptr; }));
}

milliseconds timeOfSleep(const char* scale, uint64_t seconds) {
    setenv("KAVEL_HOST_TIME_SCALE", scale, 1);
    const auto start = steady_clock::now();
    sleepSeconds(seconds);
    return std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
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
        const milliseconds time = timeOfSleep(each.scale, each.seconds);
        EXPECT_GE(time.count(), each.least) << each.scale;
        EXPECT_LT(time.count(), each.least + 5000) << each.scale;
    }
    setitimer(ITIMER_REAL, nullptr, nullptr);
    unsetenv("KAVEL_HOST_TIME_SCALE");
}

}  // namespace
}  // namespace android::kavel::host
