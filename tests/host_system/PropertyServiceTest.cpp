#include "host/system/PropertyService.h"

#include <android-base/file.h>
#include <android-base/properties.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>
#include <vector>

#include "host/system/PropertyClient.h"
#include "host/system/PropertyProtocol.h"
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

base::unique_fd connectToService() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    propertySocketPath().copy(address.sun_path, sizeof(address.sun_path) - 1);
    base::unique_fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(connect(fd.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    return fd;
}

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

// Would catch a service that waits for a slow client, or is filled up by half requests.
TEST(Property, HalfRequestsDoNotStallOthers) {
    const Boot boot;
    const std::string request = encodeSetRequest("sys.half", "whole");
    std::vector<base::unique_fd> idle;
    for (int i = 0; i < 300; ++i) {
        idle.push_back(connectToService());
        ASSERT_EQ(send(idle.back().get(), request.data(), 9, MSG_NOSIGNAL), 9);
    }
    EXPECT_TRUE(SetProperty("sys.other", "1"));
    char byte = 0;
    EXPECT_EQ(recv(idle.front().get(), &byte, 1, MSG_DONTWAIT), 0);  // the oldest had to go
    // The newest of the half requests is still good.
    const size_t rest = request.size() - 9;
    ASSERT_EQ(send(idle.back().get(), request.data() + 9, rest, MSG_NOSIGNAL),
              static_cast<ssize_t>(rest));
    PropertyStatus answer = PropertyStatus::kNoService;
    EXPECT_EQ(recv(idle.back().get(), &answer, sizeof(answer), MSG_WAITALL),
              ssize_t{sizeof(answer)});
    EXPECT_EQ(answer, PropertyStatus::kSuccess);
    EXPECT_EQ(GetProperty("sys.half", ""), "whole");
}

// Would catch (with ASan) a closed connection that lives on in a child which init has just forked.
TEST(Property, ForkedChildrenDoNotKeepConnections) {
    const Boot boot;
    base::unique_fd client = connectToService();
    EXPECT_TRUE(SetProperty("sys.accepted", "1"));
    const base::unique_fd ready(eventfd(0, EFD_CLOEXEC));
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        client.reset();  // keeps copies of the service's ends only
        eventfd_write(ready.get(), 1);
        while (true) pause();
    }
    client.reset();
    eventfd_t written = 0;
    EXPECT_EQ(eventfd_read(ready.get(), &written), 0);
    for (int i = 0; i < 10; ++i) EXPECT_TRUE(SetProperty("sys.after", std::to_string(i)));
    EXPECT_EQ(kill(child, SIGKILL), 0);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
}

// Would catch a client that hangs where no service is, or where one never answers.
TEST(Property, NoServiceIsAnErrorSoon) {
    const auto start = steady_clock::now();
    EXPECT_EQ(requestSet(folder() / "nothing", "a", "b"), PropertyStatus::kNoService);
    EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(1));

    const base::unique_fd deaf(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (folder() / "deaf").copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(deaf.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_EQ(listen(deaf.get(), 1), 0);
    EXPECT_EQ(requestSet(folder() / "deaf", "a", "b"), PropertyStatus::kNoService);
    EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(8));
}

// Would catch a race between readers, their cache and changes (under TSan), and a value torn in
// two.
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
