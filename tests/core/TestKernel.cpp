#include "tests/core/TestKernel.h"

#include <algorithm>
#include <cctype>
#include <cerrno>

#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <android-base/stringprintf.h>
#include <linux/netlink.h>

#include "platform/Log.h"
#include "tests/core/Messages.h"

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

int sChannel = -1;  // a whole daemon has further sockets: the binder runtime's, the properties'

/** Leaves the thread's endless loop. */
struct NothingLeft {};

std::string portOf(const sockaddr* address, socklen_t size) {
    const auto* const port = reinterpret_cast<const sockaddr_nl*>(address);
    if (size != sizeof(*port) || port->nl_family != AF_NETLINK || port->nl_groups != 0) {
        return "invalid";
    }
    return port->nl_pid == static_cast<uint32_t>(getpid()) ? "PID" : std::to_string(port->nl_pid);
}

/** Letters as they are, other bytes in hexadecimal; PID for the daemon's port in the header. */
std::string shown(std::string bytes) {
    const auto self = static_cast<uint32_t>(getpid());
    const bool isSelf = bytes.size() > 16 && bytes.substr(12, 4) == number(self, 4);
    if (isSelf) bytes.replace(12, 4, "PID");
    std::string text;
    for (const char c : bytes) {
        text += isalpha(c) != 0 ? std::string(1, c) : base::StringPrintf("%02x", c & 0xFF);
    }
    return text;
}

int fail(int error) {
    errno = error;
    return -1;
}

/** Returns the next of the scripted results, or nullopt. */
std::optional<int> nextFault(std::deque<int>& faults) {
    if (faults.empty()) return std::nullopt;
    const int fault = faults.front();
    faults.pop_front();
    return fault;
}

ssize_t receive(void* data, size_t size, int flags) {
    if (TestKernel::sKernel->messages.empty() && flags == MSG_DONTWAIT) return fail(EAGAIN);
    if (TestKernel::sKernel->messages.empty()) throw NothingLeft();
    const size_t received =
            TestKernel::sKernel->messages.front().copy(static_cast<char*>(data), size);
    TestKernel::sKernel->messages.pop_front();
    return static_cast<ssize_t>(received);
}

}  // namespace

std::optional<bool> TestKernel::run(KavelKeventThread& thread) {
    try {
        return thread.KavelKeventThread::threadLoop();
    } catch (const NothingLeft&) {
        return std::nullopt;
    }
}

}  // namespace android::kavel::test

using namespace android::kavel::test;  // NOLINT(google-build-using-namespace): C functions follow

extern "C" {

int __wrap_uname(utsname* name) {
    if (TestKernel::sKernel->release.empty()) return fail(EFAULT);
    *name = {};
    TestKernel::sKernel->release.copy(name->release, sizeof(name->release) - 1);
    return 0;
}

int __wrap_socket(int domain, int type, int protocol) {
    if (domain != AF_NETLINK) return __real_socket(domain, type, protocol);
    KAVEL_LOGI("kernel", "socket %#x %d", type, protocol);
    sChannel = TestKernel::sKernel->socketError != 0 ? fail(TestKernel::sKernel->socketError)
                                                     : eventfd(0, EFD_CLOEXEC);
    return sChannel;
}

int __wrap_bind(int fd, const sockaddr* address, socklen_t size) {
    if (fd != sChannel) return __real_bind(fd, address, size);
    KAVEL_LOGI("kernel", "bind %s", portOf(address, size).c_str());
    return TestKernel::sKernel->bindError != 0 ? fail(TestKernel::sKernel->bindError) : 0;
}

int __wrap_setsockopt(int fd, int level, int name, const void* value, socklen_t size) {
    if (fd != sChannel) return __real_setsockopt(fd, level, name, value, size);
    KAVEL_LOGI("kernel", "setsockopt %d %d %d", level, name,
               size == sizeof(int) ? *static_cast<const int*>(value) : 0);
    return name == SO_RCVBUFFORCE && !TestKernel::sKernel->mayForceBuffer ? fail(EPERM) : 0;
}

ssize_t __wrap_sendto(int fd, const void* data, size_t size, int flags, const sockaddr* address,
                      socklen_t addressSize) {
    if (fd != sChannel) return __real_sendto(fd, data, size, flags, address, addressSize);
    const std::string bytes(static_cast<const char*>(data), size);
    KAVEL_LOGI("kernel", "sendto %s %d %zu %s", portOf(address, addressSize).c_str(), flags, size,
               shown(bytes).c_str());
    const int fault = nextFault(TestKernel::sKernel->sendFaults).value_or(static_cast<int>(size));
    return fault < 0 ? fail(-fault) : std::min(static_cast<ssize_t>(size), ssize_t{fault});
}

ssize_t __wrap_recvfrom(int fd, void* data, size_t size, int flags, sockaddr* address,
                        socklen_t* addressSize) {
    if (fd != sChannel) return __real_recvfrom(fd, data, size, flags, address, addressSize);
    const std::string port = portOf(address, *addressSize);
    if (size != 1012 || flags != 0 || port != "0")
        KAVEL_LOGI("kernel", "recvfrom %s %zu %d", port.c_str(), size, flags);
    if (const std::optional<int> fault = nextFault(TestKernel::sKernel->receiveFaults)) {
        return *fault < 0 ? fail(-*fault) : 0;
    }
    reinterpret_cast<sockaddr_nl*>(address)->nl_pid = TestKernel::sKernel->sender;
    return receive(data, size, flags);
}

ssize_t __wrap_recv(int fd, void* data, size_t size, int flags) {
    if (fd != sChannel) return __real_recv(fd, data, size, flags);
    if (size != 1032) KAVEL_LOGI("kernel", "recv %zu %d", size, flags);
    return receive(data, size, flags);
}
}
