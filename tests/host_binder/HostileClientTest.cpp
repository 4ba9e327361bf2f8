#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

#include "host/binder/Frame.h"
#include "host/binder/ServiceDirectory.h"
#include "tests/host_binder/BinderTest.h"

using namespace android;     // NOLINT(google-build-using-namespace)
using namespace kavel_test;  // NOLINT(google-build-using-namespace)

namespace {

using base::unique_fd;
using kavel::host::kTransactionSpace;

constexpr uint32_t kMagic = 0x3142564b;

class HostileClientTest : public BinderTest {
  protected:
    unique_fd connect(const std::string& name) const {
        std::string address;
        unique_fd fd = kavel::host::connectTo(socketPath(name), &address);
        const timeval limit{20, 0};  // a hang becomes a failure
        setsockopt(fd.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
        return fd;
    }
};

void sendPacket(const unique_fd& fd, const std::vector<uint32_t>& words, int attachment) {
    iovec part{const_cast<uint32_t*>(words.data()), words.size() * sizeof(uint32_t)};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    if (attachment >= 0) {
        message.msg_control = control;
        message.msg_controllen = sizeof(control);
        cmsghdr* rights = CMSG_FIRSTHDR(&message);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(rights), &attachment, sizeof(attachment));
    }
    ASSERT_EQ(sendmsg(fd.get(), &message, MSG_NOSIGNAL), static_cast<ssize_t>(part.iov_len));
}

bool isDropped(const unique_fd& fd) {
    char byte = 0;
    const ssize_t count = recv(fd.get(), &byte, sizeof(byte), 0);
    return count == 0 || (count < 0 && errno == ECONNRESET);
}

// Would catch a receiver that waits for the rest of a frame, believes a length, reads from whatever
// is attached to it, or lets any of that disturb others.
TEST_F(HostileClientTest, DropsWhatIsNoFrame) {
    const unique_fd file(open("/proc/self/exe", O_RDONLY | O_CLOEXEC));
    const unique_fd shortMemory(memfd_create("short", MFD_CLOEXEC));
    ASSERT_EQ(ftruncate(shortMemory.get(), 70'000), 0);
    constexpr auto kTooLarge = static_cast<uint32_t>(kTransactionSpace + 1);

    const struct {
        const char* name;
        std::vector<uint32_t> words;
        int attachment = -1;
    } packets[] = {
            {"part of a header", {kMagic, 1}},
            {"half a frame", {kMagic, 1, 0, 100, 1, 2, 3}},
            {"more than a frame", {kMagic, 1, 0, 4, 1, 2}},
            {"garbage", {0xdeadbeef, 1, 0, 4, 1}},
            {"just too large", {kMagic, 1, 0, kTooLarge}},
            {"huge length", {kMagic, 1, 0, 0xffffffff, 1}},
            {"large without its memory", {kMagic, 1, 0, 70'001}},
            {"a file for memory", {kMagic, 1, 0, 70'001}, file.get()},
            {"memory too short", {kMagic, 1, 0, 70'001}, shortMemory.get()},
            {"memory with a small frame", {kMagic, 1, 0, 4, 1}, shortMemory.get()},
    };
    const ServerProcess server("target");
    for (const auto& packet : packets) {
        SCOPED_TRACE(packet.name);
        const unique_fd hostile = connect("target");
        sendPacket(hostile, packet.words, packet.attachment);
        EXPECT_EQ(call(server.service(), ECHO), NO_ERROR);
        EXPECT_TRUE(isDropped(hostile));
    }
}

// Would catch answers that pile up, or a thread that waits, for a client that never reads.
TEST_F(HostileClientTest, DropsAClientThatReadsNoAnswers) {
    const ServerProcess server("target", 1);
    Parcel request;
    request.writeInterfaceToken(String16(kDescriptor));
    request.writeInt32(60'000);
    for (const uint32_t flags : {0u, uint32_t{IBinder::FLAG_ONEWAY}}) {
        const unique_fd hostile = connect("target");
        int error = 0;
        for (int sent = 0; sent < 100'000 && error == 0; ++sent) {
            error = kavel::host::sendFrame(hostile.get(), 0, GROW, flags, request.data(),
                                           request.dataSize());
        }
        EXPECT_EQ(error, EPIPE);
        EXPECT_EQ(call(server.service(), ECHO), NO_ERROR);
    }
}

std::chrono::nanoseconds processorTime(pid_t pid) {
    clockid_t clock = 0;
    timespec time{};
    EXPECT_EQ(clock_getcpuclockid(pid, &clock), 0);
    EXPECT_EQ(clock_gettime(clock, &time), 0);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

// Would catch a server that ends, turns without a pause, or serves nobody any more once it has no
// descriptor left, whether or not there are idle clients to give up.
TEST_F(HostileClientTest, OutlastsAWantOfDescriptors) {
    const ServerProcess server("target");
    rlimit usual{};
    ASSERT_EQ(prlimit(server.pid(), RLIMIT_NOFILE, nullptr, &usual), 0);
    for (const rlim_t descriptors : {24U, 3U}) {
        const rlimit few{descriptors, usual.rlim_max};
        ASSERT_EQ(prlimit(server.pid(), RLIMIT_NOFILE, &few, nullptr), 0);
        std::vector<unique_fd> clients;
        for (int i = 0; i < 100; ++i) clients.push_back(connect("target"));
        if (descriptors == 24) {
            EXPECT_EQ(call(check("target"), ECHO), NO_ERROR);
        }
        const auto before = processorTime(server.pid());
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        EXPECT_LT(processorTime(server.pid()) - before, std::chrono::milliseconds(100));
        ASSERT_EQ(prlimit(server.pid(), RLIMIT_NOFILE, &usual, nullptr), 0);
        EXPECT_EQ(call(check("target"), ECHO), NO_ERROR);
    }
}

// Would catch a sender that hangs for ever when the server is stopped.
TEST_F(HostileClientTest, OneWaySenderOutlivesAStoppedServer) {
    const ServerProcess server("target");
    ASSERT_EQ(kill(server.pid(), SIGSTOP), 0);
    ASSERT_EQ(waitpid(server.pid(), nullptr, WUNTRACED), server.pid());  // each thread stands still
    EXPECT_EQ(call(server.service(), RECORD, {1, 1}, nullptr, IBinder::FLAG_ONEWAY),
              FAILED_TRANSACTION);
    ASSERT_EQ(kill(server.pid(), SIGCONT), 0);
    EXPECT_EQ(call(server.service(), ECHO), NO_ERROR);
}

}  // namespace
