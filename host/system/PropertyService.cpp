#include "host/system/PropertyService.h"

#include <android-base/file.h>
#include <android-base/strings.h>
#include <android/log.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace android::kavel::host {

namespace {

constexpr char kTag[] = "property_service";
/** Maximum time in which a connected client must send its request, also on a busy machine. */
constexpr timeval kClientTimeout{20, 0};

bool bindSocket(int fd, const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) {
        errno = ENAMETOOLONG;
        return false;
    }
    memcpy(address.sun_path, path.c_str(), path.size() + 1);
    if (unlink(path.c_str()) != 0 && errno != ENOENT) return false;
    return bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 &&
           chmod(path.c_str(), 0666) == 0 && listen(fd, SOMAXCONN) == 0;
}

}  // namespace

PropertyService::Options PropertyService::Options::fromEnvironment() {
    return {propertyDirectory(), propertySocketPath(), "/data/property"};
}

PropertyService::PropertyService(Options options)
      : mOptions(std::move(options)), mStore(mOptions.storeDir) {}

PropertyService::~PropertyService() {
    if (mListen.ok()) unlink(mOptions.socketPath.c_str());
}

std::unique_ptr<PropertyService> PropertyService::start(Options options, std::string* error) {
    std::unique_ptr<PropertyService> service(new PropertyService(std::move(options)));
    if (!service->open(error)) return nullptr;
    return service;
}

bool PropertyService::open(std::string* error) {
    const auto fail = [error](const std::string& what) {
        *error = what + ": " + strerror(errno);
        return false;
    };
    if (!mStore.create()) return fail(mOptions.storeDir);
    mStore.clear();
    base::unique_fd listener(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!listener.ok() || !bindSocket(listener.get(), mOptions.socketPath)) {
        return fail(mOptions.socketPath);
    }
    mListen = std::move(listener);
    return true;
}

void PropertyService::onReadable() {
    const base::unique_fd client(accept4(mListen.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!client.ok()) return;
    setsockopt(client.get(), SOL_SOCKET, SO_RCVTIMEO, &kClientTimeout, sizeof(kClientTimeout));
    std::string request(kPropertyNameMax + 1 + kPropertyLongValueMax, '\0');
    const ssize_t length = recv(client.get(), request.data(), request.size(), 0);
    if (length <= 0) return;
    request.resize(static_cast<size_t>(length));
    const size_t end = request.find('\0');
    const PropertyStatus status = end == std::string::npos
                                          ? PropertyStatus::kReadData
                                          : set(request.substr(0, end), request.substr(end + 1));
    send(client.get(), &status, sizeof(status), MSG_NOSIGNAL | MSG_DONTWAIT);
}

PropertyStatus PropertyService::set(const std::string& name, const std::string& value) {
    const PropertyStatus status = apply(name, value, Origin::kRequest);
    if (status != PropertyStatus::kSuccess) {
        __android_log_print(ANDROID_LOG_WARN, kTag, "Cannot set %s to '%s': %s", name.c_str(),
                            value.c_str(), describe(status));
    }
    return status;
}

PropertyStatus PropertyService::apply(const std::string& name, const std::string& value,
                                      Origin origin) {
    const PropertyStatus status = checkProperty(name, value);
    if (status != PropertyStatus::kSuccess) return status;
    if (base::StartsWith(name, "ctl.")) {
        const std::string_view action = std::string_view(name).substr(strlen("ctl."));
        return mControl && mControl(action, value) ? PropertyStatus::kSuccess
                                                   : PropertyStatus::kControlFailed;
    }
    if (base::StartsWith(name, "ro.") && mStore.read(name)) return PropertyStatus::kReadOnly;
    if (!mStore.write(name, value)) return PropertyStatus::kSetFailed;
    if (origin == Origin::kRequest && base::StartsWith(name, "persist.")) {
        const PropertyFolder persistent(mOptions.persistDir);
        if (!persistent.create() || !persistent.write(name, value)) {
            // The value is still set for this boot, as on a phone with a full /data.
            __android_log_print(ANDROID_LOG_ERROR, kTag, "Cannot keep %s in %s: %s", name.c_str(),
                                mOptions.persistDir.c_str(), strerror(errno));
        }
    }
    if (mChanged) mChanged(name, value);
    return PropertyStatus::kSuccess;
}

bool PropertyService::loadFile(const std::string& path) {
    std::string content;
    if (!base::ReadFileToString(path, &content)) return false;
    for (const std::string& raw : base::Split(content, "\n")) {
        const std::string line = base::Trim(raw);
        if (line.empty() || line.front() == '#') continue;
        const size_t equals = line.find('=');
        const PropertyStatus status =
                equals == std::string::npos
                        ? PropertyStatus::kReadData
                        : apply(base::Trim(line.substr(0, equals)),
                                base::Trim(line.substr(equals + 1)), Origin::kBoot);
        if (status != PropertyStatus::kSuccess) {
            __android_log_print(ANDROID_LOG_WARN, kTag, "%s: line '%s' is skipped: %s",
                                path.c_str(), line.c_str(), describe(status));
        }
    }
    return true;
}

void PropertyService::loadPersistent() {
    for (const auto& [name, value] : PropertyFolder(mOptions.persistDir).readAll()) {
        if (base::StartsWith(name, "persist.")) apply(name, value, Origin::kBoot);
    }
}

}  // namespace android::kavel::host
