// Properties: would catch a limit that is off by one, a name that leads out of the store's folder,
// a value that a restart of the phone loses or keeps by mistake, a wait that misses the change or
// returns without it, and a client that hangs if no service answers. Sleeps: a scale that is not
// applied, and a signal that ends a sleep or makes it longer.

#include <android-base/file.h>
#include <android-base/properties.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/time.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "host/system/PropertyClient.h"
#include "host/system/PropertyRules.h"
#include "host/system/PropertyService.h"
#include "platform/Sleep.h"
#include "tests/fake/TempDir.h"

namespace android::kavel::host {
namespace {

using base::GetProperty;
using base::SetProperty;

TEST(Property, NamesAndValuesHaveRules) {
    const auto check = [](const std::string& name, size_t length = 1) {
        return checkProperty(name, std::string(length, 'v'));
    };
    const std::string longest(255, 'n');
    EXPECT_EQ(check("persist.sys.kvl-x_y@z:1", 91), PropertyStatus::kSuccess);
    EXPECT_EQ(check("rolong", 92), PropertyStatus::kInvalidValue);
    EXPECT_EQ(check("ro.long", 65536), PropertyStatus::kSuccess);
    EXPECT_EQ(check("ro.long", 65537), PropertyStatus::kInvalidValue);
    EXPECT_EQ(checkProperty("a", std::string_view("x\0y", 3)), PropertyStatus::kInvalidValue);
    EXPECT_EQ(check(longest), PropertyStatus::kSuccess);
    for (const std::string name : {"a.", "a..b", "..", "a/b", "a=b", "a\xc3\xa4"}) {
        EXPECT_EQ(check(name), PropertyStatus::kInvalidName) << name;
    }
    EXPECT_EQ(check(longest + "n"), PropertyStatus::kInvalidName);
    EXPECT_EQ(check(std::string("a\0b", 3)), PropertyStatus::kInvalidName);
}

/** A phone's boot: the service with its poll loop on a thread, as in init. */
class Boot {
  public:
    Boot(const test::TempDir& folder, const std::string& defaults) {
        PropertyService::Options options = PropertyService::Options::fromEnvironment();
        options.persistDir = folder / "persist";
        std::string error;
        mService = PropertyService::start(options, &error);
        EXPECT_TRUE(mService->loadFile(folder.write("build.prop", defaults)));
        mService->loadPersistent();
        mThread = std::thread([this] {
            pollfd fds[] = {{mService->pollFd(), POLLIN, 0}, {mStop.get(), POLLIN, 0}};
            while (poll(fds, 2, -1) >= 0 && fds[1].revents == 0) mService->onReadable();
        });
    }
    ~Boot() {
        eventfd_write(mStop.get(), 1);
        mThread.join();
    }
    Boot(const Boot&) = delete;
    Boot& operator=(const Boot&) = delete;

  private:
    const base::unique_fd mStop{eventfd(0, EFD_CLOEXEC)};
    std::unique_ptr<PropertyService> mService;
    std::thread mThread;
};

TEST(Property, OnlyPersistentOnesOutliveTheBoot) {
    const test::TempDir folder;
    setenv("KAVEL_HOST_PROPERTY_DIR", (folder / "store").c_str(), 1);
    setenv("KAVEL_HOST_PROPERTY_SOCKET", (folder / "socket").c_str(), 1);
    EXPECT_EQ(requestSet(folder / "socket", "a", "b"), PropertyStatus::kNoService);
    {
        const Boot boot(folder,
                        "# comment\n\nro.a = 1 \nro.a=2\nno equals sign\n"
                        "persist.d=default\nbad name=1\n");
        EXPECT_EQ(GetProperty("ro.a", ""), "1");
        EXPECT_EQ(GetProperty("persist.d", ""), "default");
        EXPECT_TRUE(SetProperty("persist.p", "two\nlines"));
        EXPECT_FALSE(base::WaitForProperty("sys.w", "1", std::chrono::milliseconds(30)));
        std::thread waiter([] { EXPECT_TRUE(base::WaitForProperty("sys.w", "2")); });
        EXPECT_TRUE(SetProperty("sys.w", "1"));
        EXPECT_TRUE(SetProperty("sys.w", "2"));
        waiter.join();
    }
    const Boot boot(folder, "ro.a=3\npersist.d=newer\npersist.p=default\n");
    EXPECT_EQ(GetProperty("ro.a", ""), "3");
    EXPECT_EQ(GetProperty("persist.d", ""), "newer");
    EXPECT_EQ(GetProperty("persist.p", ""), "two\nlines");
    EXPECT_EQ(GetProperty("sys.w", "none"), "none");
    EXPECT_EQ(GetProperty("../build.prop", "refused"), "refused");
}

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
        sleepSeconds(each.seconds);
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        EXPECT_GE(time.count(), each.least) << each.scale;
        EXPECT_LT(time.count(), each.least + 150) << each.scale;  // of a busy machine
    }
}

}  // namespace
}  // namespace android::kavel::host
