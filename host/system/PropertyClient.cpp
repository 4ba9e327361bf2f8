#include "host/system/PropertyClient.h"

#include <android-base/unique_fd.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>

namespace android::kavel::host {

namespace {

constexpr timeval kServiceDeadline{20, 0};

base::unique_fd connectTo(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) return {};
    memcpy(address.sun_path, path.c_str(), path.size() + 1);
    base::unique_fd fd(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    // The send timeout also limits connect() if the service's backlog is full.
    if (!fd.ok() ||
        setsockopt(fd.get(), SOL_SOCKET, SO_SNDTIMEO, &kServiceDeadline, sizeof(timeval)) != 0 ||
        setsockopt(fd.get(), SOL_SOCKET, SO_RCVTIMEO, &kServiceDeadline, sizeof(timeval)) != 0 ||
        TEMP_FAILURE_RETRY(connect(fd.get(), reinterpret_cast<const sockaddr*>(&address),
                                   sizeof(address))) != 0) {
        return {};
    }
    return fd;
}

}  // namespace

PropertyStatus requestSet(const std::string& socketPath, const std::string& name,
                          const std::string& value) {
    const PropertyStatus status = checkProperty(name, value);
    if (status != PropertyStatus::kSuccess) return status;
    const base::unique_fd fd = connectTo(socketPath);
    if (!fd.ok()) return PropertyStatus::kNoService;
    const std::string request = name + '\0' + value;
    const ssize_t sent =
            TEMP_FAILURE_RETRY(send(fd.get(), request.data(), request.size(), MSG_NOSIGNAL));
    PropertyStatus answer = PropertyStatus::kNoService;
    if (sent != static_cast<ssize_t>(request.size()) ||
        TEMP_FAILURE_RETRY(recv(fd.get(), &answer, sizeof(answer), 0)) != ssize_t{sizeof(answer)}) {
        return PropertyStatus::kNoService;
    }
    return answer;
}

}  // namespace android::kavel::host
