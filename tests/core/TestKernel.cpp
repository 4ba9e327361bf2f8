#include "tests/core/TestKernel.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <linux/netlink.h>

#include <gtest/gtest.h>

extern "C" {
int __real_socket(int domain, int type, int protocol);
int __real_bind(int fd, const sockaddr* address, socklen_t size);
int __real_setsockopt(int fd, int level, int name, const void* value, socklen_t size);
ssize_t __real_sendto(int fd, const void* data, size_t size, int flags, const sockaddr* address,
                      socklen_t addressSize);
ssize_t __real_recvfrom(int fd, void* data, size_t size, int flags, sockaddr* address,
                        socklen_t* addressSize);
ssize_t __real_recv(int fd, void* data, size_t size, int flags);
}

namespace android::kavel::test {
namespace {

TestKernel* sKernel = nullptr;

/** Leaves the thread's endless loop. */
struct NothingLeft {};

uint32_t daemonPort() {
    return static_cast<uint32_t>(getpid());
}

uint32_t kernelPort() {
    return daemonPort() | 0x40000000U;  // process ids are smaller
}

sockaddr_nl port(uint32_t id, uint32_t groups = 0) {
    sockaddr_nl address = {};
    address.nl_family = AF_NETLINK;
    address.nl_pid = id;
    address.nl_groups = groups;
    return address;
}

bool sendTo(const sockaddr_nl& address, const std::string& message) {
    return __real_sendto(sKernel->fd.get(), message.data(), message.size(), 0,
                         reinterpret_cast<const sockaddr*>(&address),
                         sizeof(address)) == static_cast<ssize_t>(message.size());
}

/** The binder runtime and the properties of a whole daemon have sockets of their own. */
bool isChannel(int fd) {
    int domain = 0;
    socklen_t size = sizeof(domain);
    return getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_NETLINK;
}

bool isAddress(const sockaddr* address, socklen_t size, uint32_t id) {
    const sockaddr_nl expected = port(id);
    return size == sizeof(expected) && memcmp(address, &expected, size) == 0;
}

/** Ends a wait that would be for ever. */
void limitWaits(int fd) {
    const timeval deadline{20, 0};
    __real_setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &deadline, sizeof(deadline));
}

int fail(int error) {
    errno = error;
    return -1;
}

/** The next of the scripted results, or nothing. */
std::optional<int> nextFault(std::deque<int>& faults) {
    if (faults.empty()) return std::nullopt;
    const int fault = faults.front();
    faults.pop_front();
    return fault;
}

ssize_t orNothingLeft(ssize_t received) {
    if (received < 0 && errno == EAGAIN) throw NothingLeft();
    return received;
}

int waiting() {
    return sKernel->blocksAtEnd ? 0 : MSG_DONTWAIT;
}

}  // namespace

TestKernel::TestKernel()
      : fd(__real_socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_USERSOCK)) {
    const sockaddr_nl self = port(kernelPort());
    EXPECT_EQ(__real_bind(fd.get(), reinterpret_cast<const sockaddr*>(&self), sizeof(self)), 0);
    limitWaits(fd.get());
    sKernel = this;
}

TestKernel::~TestKernel() {
    sKernel = nullptr;
}

std::optional<bool> TestKernel::run(KavelKeventThread& thread) {
    try {
        return thread.KavelKeventThread::threadLoop();
    } catch (const NothingLeft&) {
        return std::nullopt;
    }
}

void TestKernel::send(const std::string& message) {
    EXPECT_TRUE(sendTo(port(daemonPort()), message)) << strerror(errno);
}

std::string TestKernel::received(bool wait) {
    std::array<char, 4096> buffer;
    const ssize_t size =
            __real_recv(fd.get(), buffer.data(), buffer.size(), wait ? 0 : MSG_DONTWAIT);
    return size > 0 ? std::string(buffer.data(), static_cast<size_t>(size)) : "";
}

}  // namespace android::kavel::test

using namespace android::kavel::test;  // NOLINT(google-build-using-namespace): C functions follow

extern "C" {

int __wrap_uname(utsname* name) {
    if (sKernel->release.empty()) return fail(EFAULT);
    *name = {};
    sKernel->release.copy(name->release, sizeof(name->release) - 1);
    return 0;
}

int __wrap_socket(int domain, int type, int protocol) {
    if (domain != AF_NETLINK) return __real_socket(domain, type, protocol);
    sKernel->protocols.push_back(protocol);
    if (sKernel->socketError != 0) return fail(sKernel->socketError);
    EXPECT_EQ(type & ~SOCK_CLOEXEC, SOCK_RAW);
    const int fd = __real_socket(domain, type, NETLINK_USERSOCK);
    limitWaits(fd);
    return fd;
}

int __wrap_bind(int fd, const sockaddr* address, socklen_t size) {
    if (!isChannel(fd)) return __real_bind(fd, address, size);
    if (sKernel->bindError != 0) return fail(sKernel->bindError);
    EXPECT_TRUE(isAddress(address, size, daemonPort()));
    const int result = __real_bind(fd, address, size);
    for (const std::string& message : sKernel->messages) sKernel->send(message);
    const int group = 1;
    if (sKernel->multicastCount > 0 &&
        __real_setsockopt(fd, SOL_NETLINK, NETLINK_ADD_MEMBERSHIP, &group, sizeof(group)) == 0) {
        // After the group, each goes to port 0 too, where nobody is: that error means nothing.
        for (int i = 0; i < sKernel->multicastCount; ++i) sendTo(port(0, 1), sKernel->multicast);
    }
    return result;
}

int __wrap_setsockopt(int fd, int level, int name, const void* value, socklen_t size) {
    if (!isChannel(fd)) return __real_setsockopt(fd, level, name, value, size);
    int bytes = 0;
    if (level == SOL_SOCKET && size == sizeof(bytes)) memcpy(&bytes, value, sizeof(bytes));
    EXPECT_EQ(bytes, 16 << 20);
    sockaddr_nl self = {};
    socklen_t selfSize = sizeof(self);
    EXPECT_EQ(getsockname(fd, reinterpret_cast<sockaddr*>(&self), &selfSize), 0);
    EXPECT_EQ(self.nl_pid, daemonPort());
    sKernel->bufferOptions.push_back(name);
    return name == SO_RCVBUFFORCE && !sKernel->mayForceBuffer ? fail(EPERM) : 0;
}

ssize_t __wrap_sendto(int fd, const void* data, size_t size, int flags, const sockaddr* address,
                      socklen_t addressSize) {
    if (!isChannel(fd)) return __real_sendto(fd, data, size, flags, address, addressSize);
    sKernel->isWellAddressed &= flags == 0 && isAddress(address, addressSize, 0);
    const std::optional<int> fault = nextFault(sKernel->sendFaults);
    if (fault && *fault < 0) return fail(-*fault);
    if (fault) size = std::min(size, static_cast<size_t>(*fault));
    const sockaddr_nl kernel = port(kernelPort());
    return __real_sendto(fd, data, size, 0, reinterpret_cast<const sockaddr*>(&kernel),
                         sizeof(kernel));
}

ssize_t __wrap_recvfrom(int fd, void* data, size_t size, int flags, sockaddr* address,
                        socklen_t* addressSize) {
    if (!isChannel(fd)) return __real_recvfrom(fd, data, size, flags, address, addressSize);
    ++sKernel->receives;
    sKernel->isWellAddressed &= flags == 0 && size == 1012 && isAddress(address, *addressSize, 0);
    if (const std::optional<int> fault = nextFault(sKernel->receiveFaults)) {
        return *fault < 0 ? fail(-*fault) : 0;
    }
    const ssize_t received =
            orNothingLeft(__real_recvfrom(fd, data, size, waiting(), address, addressSize));
    if (received > 0 &&
        std::string_view(static_cast<char*>(data), static_cast<size_t>(received)) == kEnd) {
        throw NothingLeft();
    }
    return received;
}

ssize_t __wrap_recv(int fd, void* data, size_t size, int flags) {
    if (!isChannel(fd)) return __real_recv(fd, data, size, flags);
    sKernel->isWellAddressed &= flags == 0 && size == 1032;
    return orNothingLeft(__real_recv(fd, data, size, waiting()));
}
}
