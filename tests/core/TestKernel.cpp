#include "tests/core/TestKernel.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <sys/socket.h>
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

sockaddr_nl port(uint32_t id) {
    sockaddr_nl address = {};
    address.nl_family = AF_NETLINK;
    address.nl_pid = id;
    return address;
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

}  // namespace

TestKernel::TestKernel()
      : fd(__real_socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_USERSOCK)) {
    const sockaddr_nl self = port(kernelPort());
    EXPECT_EQ(__real_bind(fd.get(), reinterpret_cast<const sockaddr*>(&self), sizeof(self)), 0);
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
    const sockaddr_nl daemon = port(daemonPort());
    EXPECT_EQ(__real_sendto(fd.get(), message.data(), message.size(), 0,
                            reinterpret_cast<const sockaddr*>(&daemon), sizeof(daemon)),
              static_cast<ssize_t>(message.size()));
}

std::string TestKernel::received() {
    std::array<char, 4096> buffer;
    const ssize_t size = __real_recv(fd.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
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
    return __real_socket(domain, type, NETLINK_USERSOCK);
}

int __wrap_bind(int fd, const sockaddr* address, socklen_t size) {
    if (!isChannel(fd)) return __real_bind(fd, address, size);
    if (sKernel->bindError != 0) return fail(sKernel->bindError);
    EXPECT_TRUE(isAddress(address, size, daemonPort()));
    const int result = __real_bind(fd, address, size);
    for (const std::string& message : sKernel->messages) sKernel->send(message);
    return result;
}

int __wrap_setsockopt(int fd, int level, int name, const void* value, socklen_t size) {
    if (!isChannel(fd)) return __real_setsockopt(fd, level, name, value, size);
    int bytes = 0;
    if (level == SOL_SOCKET && size == sizeof(bytes)) memcpy(&bytes, value, sizeof(bytes));
    EXPECT_GE(bytes * int64_t{2}, int64_t{20'000} * 2304);  // the kernel doubles it
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
    const ssize_t received = __real_recvfrom(fd, data, size, MSG_DONTWAIT, address, addressSize);
    *reinterpret_cast<sockaddr_nl*>(address) = port(sKernel->sender);
    return orNothingLeft(received);
}

ssize_t __wrap_recv(int fd, void* data, size_t size, int flags) {
    if (!isChannel(fd)) return __real_recv(fd, data, size, flags);
    sKernel->isWellAddressed &= size == 1032;
    if (flags != 0) return __real_recv(fd, data, size, flags);
    return orNothingLeft(__real_recv(fd, data, size, MSG_DONTWAIT));
}
}
