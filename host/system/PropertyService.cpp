#include "host/system/PropertyService.h"

#include <android-base/file.h>
#include <android-base/strings.h>
#include <android/log.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "host/system/PropertyProtocol.h"

namespace android::kavel::host {

namespace {

constexpr char kTag[] = "property_service";
/**
 * Requests are answered as soon as they are complete, so only half ones pile up: the oldest goes.
 */
constexpr size_t kMaxClients = 256;
constexpr int kEventsPerRound = 64;

bool watch(int epoll, int fd, void* client) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.ptr = client;
    return epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &event) == 0;
}

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
    if (!mStore.reset()) return fail(mOptions.storeDir);
    base::unique_fd listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!listener.ok() || !bindSocket(listener.get(), mOptions.socketPath)) {
        return fail(mOptions.socketPath);
    }
    mListen = std::move(listener);
    mEpoll.reset(epoll_create1(EPOLL_CLOEXEC));
    if (!mEpoll.ok() || !watch(mEpoll.get(), mListen.get(), nullptr)) return fail("epoll");
    return true;
}

void PropertyService::onReadable() {
    std::array<epoll_event, kEventsPerRound> events;
    const int count = epoll_wait(mEpoll.get(), events.data(), kEventsPerRound, 0);
    bool incoming = false;
    for (int i = 0; i < count; ++i) {
        auto* client = static_cast<Client*>(events[static_cast<size_t>(i)].data.ptr);
        if (client == nullptr) {
            incoming = true;
        } else if (!serve(*client)) {
            drop(client);
        }
    }
    // Last, because it may drop a client that this round's events still name.
    if (incoming) acceptClients();
}

void PropertyService::acceptClients() {
    for (int i = 0; i < kEventsPerRound; ++i) {
        base::unique_fd fd(accept4(mListen.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        const bool outOfDescriptors = !fd.ok() && (errno == EMFILE || errno == ENFILE);
        if (!fd.ok() && !outOfDescriptors) return;
        if (outOfDescriptors || mClients.size() >= kMaxClients) {
            if (mClients.empty()) return;
            drop(&mClients.front());
        }
        if (outOfDescriptors) continue;
        mClients.push_back({std::move(fd), {}});
        if (!watch(mEpoll.get(), mClients.back().fd.get(), &mClients.back())) mClients.pop_back();
    }
}

bool PropertyService::serve(Client& client) {
    std::array<char, 4096> chunk;
    const ssize_t received = recv(client.fd.get(), chunk.data(), chunk.size(), 0);
    if (received < 0) return errno == EAGAIN || errno == EINTR;
    if (received == 0) return false;
    client.request.append(chunk.data(), static_cast<size_t>(received));
    const SetRequest request = decodeSetRequest(client.request);
    if (request.state == SetRequest::State::kIncomplete) return true;
    const PropertyStatus status = request.state == SetRequest::State::kBroken
                                          ? request.error
                                          : set(request.name, request.value);
    // Four bytes always fit the empty buffer; a client that has gone is no concern of ours.
    send(client.fd.get(), &status, sizeof(status), MSG_NOSIGNAL);
    return false;
}

void PropertyService::drop(const Client* client) {
    // Closing is not enough: init forks, and a child that holds a copy of the descriptor until it
    // executes its program would keep the registration, and its pointer, alive.
    epoll_ctl(mEpoll.get(), EPOLL_CTL_DEL, client->fd.get(), nullptr);
    mClients.remove_if([client](const Client& each) { return &each == client; });
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
        if (!persistent.create() || !persistent.write(name, value, true)) {
            // The value holds for this boot all the same, as on a phone with a full /data.
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
