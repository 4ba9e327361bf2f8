// Linked with the daemon's main: the kernel channel is a socket to which another process can send,
// and log lines are counted instead of written.

#include <cstring>
#include <string>

#include <sys/socket.h>

#include <android/log.h>
#include <linux/netlink.h>

#include "bench/SoakCounters.h"
#include "tests/core/Messages.h"

namespace {

int sKernelChannel = -1;

bool startsWith(const char* text, const char* start) {
    return strncmp(text, start, strlen(start)) == 0;
}

void count(const __android_logger_data* /*data*/, const char* text) {
    using android::kavel::bench::soakCounters;
    if (startsWith(text, "Bn sendFramworkEvent eventId")) ++soakCounters().reports;
    if (startsWith(text, "KavelRecvKeventFunc called")) ++soakCounters().packets;
}

/** After the constructor that sets the phone's log function. */
__attribute__((constructor)) void install() {
    __android_log_set_logger(count);
}

}  // namespace

extern "C" {

int __real_socket(int domain, int type, int protocol);
ssize_t __real_recv(int fd, void* data, size_t size, int flags);
ssize_t __real_recvfrom(int fd, void* data, size_t size, int flags, sockaddr* address,
                        socklen_t* addressSize);
ssize_t __real_sendto(int fd, const void* data, size_t size, int flags, const sockaddr* address,
                      socklen_t addressSize);

int __wrap_socket(int domain, int type, int protocol) {
    if (domain != AF_NETLINK) return __real_socket(domain, type, protocol);
    return sKernelChannel = __real_socket(domain, type, NETLINK_USERSOCK);
}

ssize_t __wrap_sendto(int fd, const void* data, size_t size, int flags, const sockaddr* address,
                      socklen_t addressSize) {
    if (fd == sKernelChannel) return static_cast<ssize_t>(size);
    return __real_sendto(fd, data, size, flags, address, addressSize);
}

ssize_t __wrap_recv(int fd, void* data, size_t size, int flags) {
    if (fd != sKernelChannel) return __real_recv(fd, data, size, flags);
    const std::string reply = android::kavel::test::familyReply(0x1c);
    return static_cast<ssize_t>(reply.copy(static_cast<char*>(data), size));
}

ssize_t __wrap_recvfrom(int fd, void* data, size_t size, int flags, sockaddr* address,
                        socklen_t* addressSize) {
    const ssize_t received = __real_recvfrom(fd, data, size, flags, address, addressSize);
    if (fd == sKernelChannel) reinterpret_cast<sockaddr_nl*>(address)->nl_pid = 0;  // the kernel's
    return received;
}
}
