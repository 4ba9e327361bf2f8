#define LOG_TAG "binder"

#include "host/binder/Server.h"

#include <errno.h>
#include <fcntl.h>
#include <log/log.h>
#include <sys/epoll.h>
#include <sys/prctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

#include "host/binder/Frame.h"
#include "host/binder/ServiceDirectory.h"
#include "host/binder/WorkQueue.h"

namespace android::kavel::host {
namespace {

using base::unique_fd;

// Maximum number of connections, far below the usual limit of 1024 descriptors. A further one
// replaces the least recently used one, whose client connects again for its next call.
constexpr size_t kMaxConnections = 256;
constexpr std::chrono::milliseconds kPause(20);

unique_fd openReserve() {
    return unique_fd(open("/dev/null", O_RDONLY | O_CLOEXEC));
}

unique_fd acceptClient(int listener) {
    return unique_fd(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
}

}  // namespace

Server& Server::instance() {
    static Server& server = *new Server;
    return server;
}

Server::Server() : mEpoll(epoll_create1(EPOLL_CLOEXEC)), mReserve(openReserve()) {
    LOG_ALWAYS_FATAL_IF(!mEpoll.ok(), "epoll_create1: %s", strerror(errno));
    std::thread([this] { run(); }).detach();
}

status_t Server::publish(const std::string& name, const sp<BBinder>& object) {
    const auto listener = std::make_shared<Listener>();
    listener->name = name;
    listener->object = object;
    const Mutex::Autolock lock(mLock);
    listener->fd = listenAs(name, &listener->address);
    const int fd = listener->fd.get();
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    if (fd < 0 || epoll_ctl(mEpoll.get(), EPOLL_CTL_ADD, fd, &event) != 0) {
        const int error = errno;
        ALOGE("cannot register '%s': %s", name.c_str(), strerror(error));
        return -error;
    }
    for (auto old = mListeners.begin(); old != mListeners.end();) {
        old = old->second->name == name ? mListeners.erase(old) : std::next(old);
    }
    mListeners[fd] = listener;
    return NO_ERROR;
}

sp<BBinder> Server::findLocal(const std::string& address) {
    const Mutex::Autolock lock(mLock);
    for (const auto& [fd, listener] : mListeners) {
        if (listener->address == address) return listener->object;
    }
    return nullptr;
}

std::shared_ptr<Server::Listener> Server::listenerOf(int fd) {
    const Mutex::Autolock lock(mLock);
    const auto found = mListeners.find(fd);
    return found == mListeners.end() ? nullptr : found->second;
}

void Server::run() {
    prctl(PR_SET_NAME, "binder_receive");
    for (;;) {
        epoll_event events[16];
        const int count = epoll_wait(mEpoll.get(), events, std::size(events), -1);
        for (int i = 0; i < count; ++i) {
            // An earlier event may have closed this descriptor, and its number may have been used
            // again: then there is nothing to read.
            const int fd = events[i].data.fd;
            const auto connection = mConnections.find(fd);
            if (connection != mConnections.end()) {
                receiveFrom(std::shared_ptr<Connection>(connection->second));
            } else if (const auto listener = listenerOf(fd)) {
                acceptOn(*listener);
            }
        }
    }
}

void Server::acceptOn(const Listener& listener) {
    unique_fd fd = acceptClient(listener.fd.get());
    if (!fd.ok() && (errno == EMFILE || errno == ENFILE)) return refuseClient(listener);
    if (!fd.ok()) return;
    mIsRefusing = false;
    if (mConnections.size() >= kMaxConnections && !dropLeastUsed()) {
        ALOGW("too many calls in progress: refusing a client of '%s'", listener.name.c_str());
        return;
    }
    ucred peer{};
    socklen_t length = sizeof(peer);
    getsockopt(fd.get(), SOL_SOCKET, SO_PEERCRED, &peer, &length);

    const auto connection = std::make_shared<Connection>();
    connection->fd = std::move(fd);
    connection->object = listener.object;
    connection->pid = peer.pid;
    connection->uid = peer.uid;
    connection->lastUse = ++mUses;
    epoll_event event{};
    event.events = EPOLLIN | EPOLLONESHOT;
    event.data.fd = connection->fd.get();
    if (epoll_ctl(mEpoll.get(), EPOLL_CTL_ADD, connection->fd.get(), &event) != 0) return;
    mConnections[connection->fd.get()] = connection;
}

void Server::refuseClient(const Listener& listener) {
    // A client that is not accepted would wake this thread again and again.
    if (!std::exchange(mIsRefusing, true)) {
        ALOGW("no descriptor left for a client of '%s'", listener.name.c_str());
    }
    mReserve.reset();
    acceptClient(listener.fd.get()).reset();
    dropLeastUsed();
    mReserve = openReserve();
    // Without the reserve, the next client cannot be refused and wakes this thread at once.
    if (!mReserve.ok()) std::this_thread::sleep_for(kPause);
}

bool Server::dropLeastUsed() {
    auto least = mConnections.end();
    for (auto it = mConnections.begin(); it != mConnections.end(); ++it) {
        if (it->second->busy) continue;
        if (least == mConnections.end() || it->second->lastUse < least->second->lastUse) least = it;
    }
    if (least == mConnections.end()) return false;
    mConnections.erase(least);
    return true;
}

void Server::receiveFrom(const std::shared_ptr<Connection>& connection) {
    Call call;
    const int error = receiveFrame(connection->fd.get(), MSG_DONTWAIT, &call.frame);
    if (error == EAGAIN) return rearm(*connection);
    if (error != 0) {
        if (error != EPIPE && error != ECONNRESET) {
            ALOGW("dropping the connection of pid %d: %s", connection->pid, strerror(error));
        }
        mConnections.erase(connection->fd.get());
        return;
    }
    connection->lastUse = ++mUses;
    call.object = connection->object;
    call.uid = connection->uid;
    const bool isOneWay = (call.frame.flags & IBinder::FLAG_ONEWAY) != 0;
    if (!isOneWay) {
        call.pid = connection->pid;
        call.connection = connection;
        connection->busy = true;
    }
    const bool accepted = WorkQueue::instance().post(std::move(call));
    if (!accepted) ALOGW("queue full: refusing a call of pid %d", connection->pid);
    if (isOneWay || !accepted) {
        answer(connection, accepted ? NO_ERROR : FAILED_TRANSACTION, nullptr, 0);
    }
}

void Server::answer(const std::shared_ptr<Connection>& connection, status_t status,
                    const uint8_t* body, size_t size) {
    const int fd = connection->fd.get();
    const int error = sendFrame(fd, MSG_DONTWAIT, static_cast<uint32_t>(status), 0, body, size);
    if (error != 0) {
        if (error != EPIPE && error != ECONNRESET) {
            ALOGW("dropping the connection of pid %d: %s", connection->pid, strerror(error));
        }
        shutdown(fd, SHUT_RDWR);  // the receiving thread then removes it
    }
    connection->busy = false;
    rearm(*connection);
}

void Server::rearm(const Connection& connection) {
    epoll_event event{};
    event.events = EPOLLIN | EPOLLONESHOT;
    event.data.fd = connection.fd.get();
    epoll_ctl(mEpoll.get(), EPOLL_CTL_MOD, connection.fd.get(), &event);
}

}  // namespace android::kavel::host
