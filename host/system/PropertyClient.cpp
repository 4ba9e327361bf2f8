#include "host/system/PropertyClient.h"

#include <android-base/unique_fd.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <mutex>

#include "host/system/PropertyProtocol.h"

namespace android::kavel::host {

namespace {

constexpr timeval kServiceDeadline{2, 0};
/** Names may come from outside; a reader of ever new ones must not grow without end. */
constexpr size_t kMaxCached = 512;

base::unique_fd connectTo(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) return {};
    memcpy(address.sun_path, path.c_str(), path.size() + 1);
    base::unique_fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    // The send deadline also bounds connect() when the service's backlog is full.
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
    const std::string request = encodeSetRequest(name, value);
    // The longest request is smaller than a socket buffer: sent whole or not at all.
    const ssize_t sent =
            TEMP_FAILURE_RETRY(send(fd.get(), request.data(), request.size(), MSG_NOSIGNAL));
    PropertyStatus answer = PropertyStatus::kNoService;
    if (sent != static_cast<ssize_t>(request.size()) ||
        TEMP_FAILURE_RETRY(recv(fd.get(), &answer, sizeof(answer), MSG_WAITALL)) !=
                ssize_t{sizeof(answer)}) {
        return PropertyStatus::kNoService;
    }
    return answer;
}

bool PropertyReader::attach() {
    return mSerial.attached() || mSerial.attach(mFolder.path(), PropertySerial::Access::kRead);
}

std::optional<std::string> PropertyReader::get(const std::string& name) {
    if (!attach()) return std::nullopt;
    // Taken before the value is read: a value that is newer than its number is only read again.
    const uint32_t serial = mSerial.load();
    {
        const std::shared_lock lock(mLock);
        if (mCachedSerial == serial) {
            const auto found = mCache.find(name);
            if (found != mCache.end()) return found->second;
        }
    }
    std::optional<std::string> value = mFolder.read(name);
    const std::unique_lock lock(mLock);
    if (mCachedSerial != serial || mCache.size() >= kMaxCached) {
        mCache.clear();
        mCachedSerial = serial;
    }
    mCache.insert_or_assign(name, value);
    return value;
}

bool PropertyReader::waitFor(const std::string& name, const std::string& value,
                             int64_t deadlineNs) {
    if (!attach()) return false;
    while (true) {
        const uint32_t serial = mSerial.load();
        if (get(name) == value) return true;
        if (!mSerial.waitWhile(serial, deadlineNs)) return get(name) == value;
    }
}

}  // namespace android::kavel::host
