#include "host/system/PropertyService.h"

#include <android-base/file.h>
#include <android-base/properties.h>
#include <cutils/properties.h>
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
#include "tests/host_system/TestFolder.h"

namespace android::kavel::host {
namespace {

using base::GetProperty;
using base::SetProperty;
using base::WaitForProperty;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

/** The paths of the whole test program: the client reads them once. */
const TestFolder& folder() {
    static const TestFolder instance;
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
    explicit Boot(const std::function<void(PropertyService&)>& prepare = [](PropertyService&) {}) {
        std::string error;
        PropertyService::Options options = PropertyService::Options::fromEnvironment();
        options.persistDir = folder() / "persist";
        mService = PropertyService::start(options, &error);
        if (mService == nullptr) {
            ADD_FAILURE() << error;
            return;
        }
        prepare(*mService);
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

// Catches a set or a get that does not reach the shared store, and a wrong result code.
TEST(Property, SetsAndGets) {
    const Boot boot;
    EXPECT_EQ(GetProperty("sys.x", "default"), "default");
    EXPECT_TRUE(SetProperty("sys.x", "12"));
    EXPECT_EQ(GetProperty("sys.x", "default"), "12");
    EXPECT_EQ(base::GetUintProperty<unsigned>("sys.x", 0U), 12U);
    EXPECT_EQ(property_set("sys.x", ""), 0);
    EXPECT_EQ(GetProperty("sys.x", "default"), "default");  // empty counts as not set
    EXPECT_NE(property_set("sys.x", std::string(92, 'v').c_str()), 0);

    char value[PROPERTY_VALUE_MAX];
    EXPECT_EQ(property_get("sys.none", value, "d"), 1);
    EXPECT_STREQ(value, "d");
    EXPECT_EQ(property_get("sys.none", value, nullptr), 0);
    EXPECT_TRUE(SetProperty("ro.long", std::string(300, 'v')));
    EXPECT_EQ(property_get("ro.long", value, ""), PROPERTY_VALUE_MAX - 1);
    EXPECT_EQ(GetProperty("ro.long", "").size(), 300U);
    EXPECT_FALSE(SetProperty("ro.long", "again"));
    EXPECT_EQ(GetProperty("../socket", "refused"), "refused");
}

// Catches a value lost or invented over a restart of the phone, and defaults that are kept.
TEST(Property, OnlyPersistentOnesOutliveTheBoot) {
    const std::string defaults = folder() / "build.prop";
    ASSERT_TRUE(
            base::WriteStringToFile("# comment\n\nro.a = 1 \nro.a=2\nno equals sign\n"
                                    "persist.d=default\nbad name=1\n",
                                    defaults));
    const auto load = [&defaults](PropertyService& service) {
        EXPECT_TRUE(service.loadFile(defaults));
        service.loadPersistent();
    };
    {
        const Boot boot(load);
        EXPECT_EQ(GetProperty("ro.a", ""), "1");
        EXPECT_EQ(GetProperty("persist.d", ""), "default");
        EXPECT_TRUE(SetProperty("persist.p", "two\nlines"));
        EXPECT_TRUE(SetProperty("sys.gone", "x"));
    }
    ASSERT_TRUE(base::WriteStringToFile("ro.a=3\npersist.d=newer\npersist.p=default\n", defaults));
    const Boot boot(load);
    EXPECT_EQ(GetProperty("ro.a", ""), "3");
    EXPECT_EQ(GetProperty("persist.d", ""), "newer");
    EXPECT_EQ(GetProperty("persist.p", ""), "two\nlines");
    EXPECT_EQ(GetProperty("sys.gone", "none"), "none");
}

// Catches a cache that outlives a change, or a program that says nothing when refused.
TEST(Property, OtherProcessesSeeTheSame) {
    const Boot boot;
    EXPECT_TRUE(SetProperty("sys.y", "here"));
    EXPECT_EQ(GetProperty("sys.y", ""), "here");
    EXPECT_EQ(runProgram("getprop sys.y").output, "here\n");
    EXPECT_EQ(runProgram("setprop sys.y 'from there'").exitCode, 0);
    EXPECT_EQ(GetProperty("sys.y", ""), "from there");
    EXPECT_TRUE(SetProperty("b", "2"));
    EXPECT_EQ(runProgram("getprop").output, "[b]: [2]\n[sys.y]: [from there]\n");
    EXPECT_EQ(runProgram("getprop none otherwise").output, "otherwise\n");

    const Outcome refused = runProgram("setprop a..b x");
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.output.find("cannot set a..b: the name is not legal"), std::string::npos);
}

// Catches a wait that misses the change, ends early or late, or takes "missing" for "".
TEST(Property, Waits) {
    const Boot boot;
    const auto start = steady_clock::now();
    EXPECT_FALSE(WaitForProperty("sys.w", "", milliseconds(50)));
    EXPECT_GE(steady_clock::now() - start, milliseconds(50));
    std::thread other([] {
        EXPECT_TRUE(WaitForProperty("sys.w", "0", std::chrono::seconds(20)));
        for (const char* value : {"1", "2", "3"}) EXPECT_TRUE(SetProperty("sys.w", value));
    });
    EXPECT_TRUE(SetProperty("sys.w", "0"));
    EXPECT_TRUE(WaitForProperty("sys.w", "3"));  // no limit, and its arithmetic
    other.join();
    EXPECT_TRUE(WaitForProperty("sys.w", "3", milliseconds(0)));
    EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(10));
}

// Catches a control message that is stored, lost, or reported as done when it was refused.
TEST(Property, ControlMessagesGoToTheirHandler) {
    std::vector<std::string> seen;
    std::vector<std::string> changes;
    {
        const Boot boot([&](PropertyService& service) {
            service.setControlHandler([&](std::string_view action, const std::string& name) {
                seen.push_back(std::string(action) + " " + name);
                service.set("init.svc." + name, "running");
                return name != "unknown";
            });
            service.setChangeHandler([&changes](const std::string& name, const std::string& value) {
                changes.push_back(name + "=" + value);
            });
        });
        EXPECT_TRUE(SetProperty("ctl.start", "one"));
        EXPECT_TRUE(SetProperty("ctl.interface_restart", "two"));
        EXPECT_FALSE(SetProperty("ctl.stop", "unknown"));
        EXPECT_EQ(GetProperty("ctl.start", "not stored"), "not stored");
    }
    EXPECT_EQ(seen,
              (std::vector<std::string>{"start one", "interface_restart two", "stop unknown"}));
    EXPECT_EQ(changes.size(), 3U);
}

// Catches a service that waits for a slow client, or is filled up by half requests.
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

// Catches (with ASan) a closed connection that lives on in a child which init has just forked.
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

// Catches a client that hangs where no service is, or where one never answers.
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

// Catches a race between readers, their cache and changes (under TSan), and a value torn in two.
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
