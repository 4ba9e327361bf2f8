#include <android-base/unique_fd.h>
#include <cutils/sockets.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utils/Thread.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <future>

#include "platform/Sleep.h"

namespace android::kavel::host {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

base::unique_fd boundTo(const char* path) {
    base::unique_fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string(path).copy(address.sun_path, sizeof(address.sun_path) - 1);
    return bind(fd.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0
                   ? std::move(fd)
                   : base::unique_fd();
}

/** A private /dev with an empty socket folder, for the calling process only. */
bool makeSocketFolder() {
    return (unshare(CLONE_NEWNS) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0) &&
           mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("tmpfs", "/dev", "tmpfs", 0, nullptr) == 0 && mkdir("/dev/socket", 0755) == 0;
}

int controlSocket(const char* name, const std::string& value) {
    setenv("ANDROID_SOCKET_a_b", value.c_str(), 1);
    return android_get_control_socket(name);
}

constexpr int kSkipped = 100;

/** The number of the first case that is wrong, 0 if none is. */
int checkControlSocket() {
    if (!makeSocketFolder()) return kSkipped;
    const base::unique_fd right = boundTo("/dev/socket/a-b");
    const base::unique_fd longer = boundTo("/dev/socket/a-b2");
    const base::unique_fd unbound(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const base::unique_fd internet(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!right.ok() || !longer.ok()) return 1;
    const std::string number = std::to_string(right.get());
    if (controlSocket("a-b", number) != right.get()) return 2;
    if (controlSocket("a-b", number + "x") != -1) return 3;
    if (controlSocket("a-b", "") != -1) return 4;
    if (controlSocket("a-b", "-1") != -1) return 5;
    if (controlSocket("a-b", "999") != -1) return 6;
    if (controlSocket("a-b", std::to_string(longer.get())) != -1) return 7;
    if (controlSocket("a-b", std::to_string(unbound.get())) != -1) return 8;
    if (controlSocket("a-b", std::to_string(internet.get())) != -1) return 9;
    if (controlSocket("other", number) != -1) return 10;
    return 0;
}

// Catches a descriptor that is handed out although it is not the socket that init bound.
TEST(ControlSocket, MustBeBoundUnderItsName) {
    const pid_t child = fork();
    if (child == 0) _exit(checkControlSocket());
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == kSkipped) GTEST_SKIP() << "no mount namespaces here";
    EXPECT_EQ(WEXITSTATUS(status), 0) << "number of the failed case";
}

class TestThread : public Thread {
  public:
    explicit TestThread(status_t ready = OK) : Thread(false), mReady(ready) {}

    std::atomic<int> loops{0};
    std::promise<std::string> name;
    std::promise<void> mayEnd;
    std::promise<void>* gone = nullptr;

  protected:
    ~TestThread() override {
        if (gone != nullptr) gone->set_value();
    }

  private:
    status_t readyToRun() override { return mReady; }
    bool threadLoop() override {
        if (++loops < 3) return true;
        char text[16];
        pthread_getname_np(pthread_self(), text, sizeof(text));
        name.set_value(text);
        mayEnd.get_future().wait();
        return false;
    }

    const status_t mReady;
};

// Catches a thread without its name, or one that lives otherwise than libutils' own.
TEST(ThreadRun, NamesTheThreadAndKeepsItsLife) {
    sp<TestThread> thread = new TestThread;
    std::promise<void> gone;
    thread->gone = &gone;
    ASSERT_EQ(thread->run("dravo_kavel_kevent"), OK);
    EXPECT_EQ(thread->name.get_future().get(), "dravo_kavel_kev");
    EXPECT_EQ(thread->run("again"), INVALID_OPERATION);
    EXPECT_TRUE(thread->isRunning());
    EXPECT_EQ(thread->loops, 3);
    TestThread* const raw = thread.get();
    thread.clear();  // the running thread keeps itself
    raw->mayEnd.set_value();
    EXPECT_EQ(gone.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
}

// Catches a thread that loops although it is not ready, or cannot be stopped or joined.
TEST(ThreadRun, ReadinessAndJoin) {
    const sp<TestThread> unready = new TestThread(NO_INIT);
    ASSERT_EQ(unready->run("unready"), OK);
    EXPECT_EQ(unready->join(), NO_INIT);
    EXPECT_EQ(unready->loops, 0);
    EXPECT_FALSE(unready->isRunning());

    const sp<TestThread> thread = new TestThread;
    thread->mayEnd.set_value();
    ASSERT_EQ(thread->run("short"), OK);
    EXPECT_EQ(thread->requestExitAndWait(), OK);
    EXPECT_LE(thread->loops, 3);
}

milliseconds timeOfSleep(const char* scale, uint64_t seconds) {
    setenv("KAVEL_HOST_TIME_SCALE", scale, 1);
    const auto start = steady_clock::now();
    sleepSeconds(seconds);
    return std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
}

// Catches a scale that is not applied, and a signal that ends or stretches a sleep.
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
