#define LOG_TAG "binder"

#include "host/binder/ServiceDirectory.h"

#include <errno.h>
#include <log/log.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace android::kavel::host {
namespace {

using base::unique_fd;

constexpr size_t kMaxNameLength = 127;  // as in the real service manager
constexpr timeval kSendTimeout{20, 0};  // for servers that are stopped

std::string directory() {
    const char* path = getenv("KAVEL_HOST_BINDER_DIR");
    return path != nullptr && *path != '\0' ? path : "/dev/binder_sockets";
}

/** Returns the directory. Creates it, writable for every user, if it is missing. */
std::string ensuredDirectory() {
    std::string path = directory();
    if (mkdir(path.c_str(), 0777) == 0) chmod(path.c_str(), 0777);  // regardless of the umask
    return path;
}

bool fillAddress(const std::string& path, sockaddr_un* address) {
    *address = sockaddr_un{};
    address->sun_family = AF_UNIX;
    if (path.size() >= sizeof(address->sun_path)) {
        ALOGE("socket path '%s' is too long", path.c_str());
        errno = ENAMETOOLONG;
        return false;
    }
    std::memcpy(address->sun_path, path.data(), path.size());
    return true;
}

unique_fd makeSocket(int flags) {
    return unique_fd(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | flags, 0));
}

/** Returns a random path in the directory, which no other socket has. */
std::string uniquePath() {
    uint64_t random = 0;
    if (getrandom(&random, sizeof(random), 0) != sizeof(random)) return "";
    char name[32];
    snprintf(name, sizeof(name), "/.%016llx", static_cast<unsigned long long>(random));
    return ensuredDirectory() + name;
}

}  // namespace

bool isValidServiceName(const std::string& name) {
    static constexpr char kAllowed[] =
            "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./";
    return !name.empty() && name.size() <= kMaxNameLength && name[0] != '.' &&
           name.find_first_not_of(kAllowed) == std::string::npos;
}

std::string servicePath(const std::string& name) {
    std::string file = name;
    // A service name may contain "/", which a file name cannot, but never "%".
    std::replace(file.begin(), file.end(), '/', '%');
    return directory() + "/" + file;
}

unique_fd listenAs(const std::string& name, std::string* address) {
    // A client must never find a socket that does not listen yet, so the socket gets its name last;
    // the rename also replaces the file of a dead server. getpeername() still returns the first
    // path, which identifies this server.
    *address = uniquePath();
    sockaddr_un bound{};
    sockaddr_un named{};
    if (!fillAddress(*address, &bound) || !fillAddress(servicePath(name), &named)) {
        return unique_fd();
    }
    unique_fd fd = makeSocket(SOCK_NONBLOCK);
    if (!fd.ok() || bind(fd.get(), reinterpret_cast<sockaddr*>(&bound), sizeof(bound)) != 0) {
        return unique_fd();
    }
    if (chmod(bound.sun_path, 0666) != 0 || listen(fd.get(), SOMAXCONN) != 0 ||
        rename(bound.sun_path, named.sun_path) != 0) {
        const int error = errno;
        unlink(bound.sun_path);
        errno = error;
        return unique_fd();
    }
    return fd;
}

unique_fd connectTo(const std::string& path, std::string* address) {
    sockaddr_un target{};
    if (!fillAddress(path, &target)) return unique_fd();
    unique_fd fd = makeSocket(0);
    if (!fd.ok()) return fd;
    // Also limits connect(), which would wait forever if the backlog of a stopped server is full.
    setsockopt(fd.get(), SOL_SOCKET, SO_SNDTIMEO, &kSendTimeout, sizeof(kSendTimeout));
    if (TEMP_FAILURE_RETRY(
                connect(fd.get(), reinterpret_cast<sockaddr*>(&target), sizeof(target))) != 0) {
        return unique_fd();
    }
    sockaddr_un peer{};
    socklen_t length = sizeof(peer);
    if (getpeername(fd.get(), reinterpret_cast<sockaddr*>(&peer), &length) != 0) return unique_fd();
    address->assign(peer.sun_path, strnlen(peer.sun_path, sizeof(peer.sun_path)));
    return fd;
}

DirectoryWatch::DirectoryWatch() : mFd(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    const std::string path = ensuredDirectory();
    if (inotify_add_watch(mFd.get(), path.c_str(), IN_MOVED_TO) < 0) {
        ALOGE("cannot watch '%s': %s", path.c_str(), strerror(errno));
        mFd.reset();
    }
}

bool DirectoryWatch::wait(Clock::time_point deadline) {
    if (!mFd.ok()) return false;
    pollfd waiting{mFd.get(), POLLIN, 0};
    for (;;) {
        int timeout = -1;
        if (deadline != Clock::time_point::max()) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            if (left.count() <= 0) return false;
            timeout = static_cast<int>(std::min<int64_t>(left.count(), INT_MAX));
        }
        const int ready = poll(&waiting, 1, timeout);
        if (ready < 0 && errno != EINTR) return false;
        if (ready > 0) break;
    }
    alignas(inotify_event) char events[4096];
    return read(mFd.get(), events, sizeof(events)) > 0;
}

}  // namespace android::kavel::host
