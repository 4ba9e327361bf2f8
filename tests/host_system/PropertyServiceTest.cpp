#include "host/system/PropertyService.h"

#include <android-base/file.h>
#include <android-base/properties.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <vector>

#include "host/system/PropertyClient.h"
#include "tests/fake/TempDir.h"

namespace android::kavel::host {
namespace {

using test::TempDir;

using base::GetProperty;
using base::SetProperty;
using std::chrono::steady_clock;

/** The paths of the whole test program: the client reads them once. */
const TempDir& folder() {
    static const TempDir instance;
    return instance;
}

const bool kEnvironmentSet = [] {
    setenv("KAVEL_HOST_PROPERTY_DIR", (folder() / "store").c_str(), 1);
    setenv("KAVEL_HOST_PROPERTY_SOCKET", (folder() / "socket").c_str(), 1);
    return true;
}();

/** A phone's boot: the service with its poll loop on a thread, as in init. */
class Boot {
  public:
    explicit Boot(const std::string& defaults = "") {
        std::string error;
        PropertyService::Options options = PropertyService::Options::fromEnvironment();
        options.persistDir = folder() / "persist";
        mService = PropertyService::start(options, &error);
        if (mService == nullptr) {
            ADD_FAILURE() << error;
            return;
        }
        if (!defaults.empty()) {
            EXPECT_TRUE(mService->loadFile(defaults));
            mService->loadPersistent();
        }
        mThread = std::thread([this] { loop(); });
    }
    ~Boot() {
        if (!mThread.joinable()) return;
        eventfd_write(mStop.get(), 1);
        mThread.join();
    }
    Boot(const Boot&) = delete;
    Boot& operator=(const Boot&) = delete;

  private:
    void loop() {
        pollfd fds[] = {{mService->pollFd(), POLLIN, 0}, {mStop.get(), POLLIN, 0}};
        while (poll(fds, 2, -1) >= 0 && fds[1].revents == 0) mService->onReadable();
    }

    const base::unique_fd mStop{eventfd(0, EFD_CLOEXEC)};
    std::unique_ptr<PropertyService> mService;
    std::thread mThread;
};

// Would catch a value lost or invented over a restart of the phone, defaults that are kept, and a
// name that leaves the store.
TEST(Property, OnlyPersistentOnesOutliveTheBoot) {
    const std::string defaults = folder() / "build.prop";
    ASSERT_TRUE(
            base::WriteStringToFile("# comment\n\nro.a = 1 \nro.a=2\nno equals sign\n"
                                    "persist.d=default\nbad name=1\n",
                                    defaults));
    {
        const Boot boot(defaults);
        EXPECT_EQ(GetProperty("ro.a", ""), "1");
        EXPECT_EQ(GetProperty("persist.d", ""), "default");
        EXPECT_TRUE(SetProperty("persist.p", "two\nlines"));
        EXPECT_TRUE(SetProperty("sys.gone", "x"));
    }
    ASSERT_TRUE(base::WriteStringToFile("ro.a=3\npersist.d=newer\npersist.p=default\n", defaults));
    const Boot boot(defaults);
    EXPECT_EQ(GetProperty("ro.a", ""), "3");
    EXPECT_EQ(GetProperty("persist.d", ""), "newer");
    EXPECT_EQ(GetProperty("persist.p", ""), "two\nlines");
    EXPECT_EQ(GetProperty("sys.gone", "none"), "none");
    EXPECT_EQ(GetProperty("../build.prop", "refused"), "refused");
}

// Would catch a wait that misses the change or returns without it.
TEST(Property, WaitsForAValue) {
    const Boot boot;
    EXPECT_FALSE(base::WaitForProperty("sys.w", "1", std::chrono::milliseconds(30)));
    std::thread waiter([] { EXPECT_TRUE(base::WaitForProperty("sys.w", "2")); });
    EXPECT_TRUE(SetProperty("sys.w", "1"));
    EXPECT_TRUE(SetProperty("sys.w", "2"));
    waiter.join();
}

// Would catch a client that hangs where no service is, or where one never answers.
TEST(Property, NoServiceIsAnErrorSoon) {
    const auto start = steady_clock::now();
    EXPECT_EQ(requestSet(folder() / "nothing", "a", "b"), PropertyStatus::kNoService);
    EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(1));

    const base::unique_fd deaf(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (folder() / "deaf").copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(deaf.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_EQ(listen(deaf.get(), 1), 0);
    EXPECT_EQ(requestSet(folder() / "deaf", "a", "b"), PropertyStatus::kNoService);
    EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(8));
}

// Would catch a value torn in two.
TEST(Property, ManyReadersSeeWholeValues) {
    const Boot boot;
    std::vector<std::thread> readers;
    readers.reserve(4);
    ASSERT_TRUE(SetProperty("sys.v", std::string(80, '0')));
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([] {
            for (std::string value; value != std::string(80, '9');) {
                value = GetProperty("sys.v", "missing");
                EXPECT_EQ(value, std::string(80, value[0]));
            }
        });
    }
    for (char digit = '1'; digit <= '9'; ++digit) {
        EXPECT_TRUE(SetProperty("sys.v", std::string(80, digit)));
    }
    for (std::thread& reader : readers) reader.join();
}

}  // namespace
}  // namespace android::kavel::host
