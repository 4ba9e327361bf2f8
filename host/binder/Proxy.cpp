#define LOG_TAG "binder"

#include "host/binder/Proxy.h"

#include <binder/Parcel.h>
#include <errno.h>
#include <log/log.h>
#include <poll.h>
#include <sys/socket.h>

#include <cstring>
#include <utility>

#include "host/binder/ServiceDirectory.h"

namespace android::kavel::host {
namespace {

using base::unique_fd;

constexpr size_t kMaxIdleConnections = 4;
// Maximum number of attempts: a server may close an idle connection just before a call is sent.
constexpr int kAttempts = 3;
// Maximum wait of the sender of a one-way call. A server accepts the call at once, unless it is
// stopped, or the machine is so busy that it does not run.
constexpr int kOneWayTimeoutMs = 20'000;

int receiveAnswer(int fd, bool isOneWay, Frame* answer) {
    if (isOneWay) {
        pollfd waiting{fd, POLLIN, 0};
        if (TEMP_FAILURE_RETRY(poll(&waiting, 1, kOneWayTimeoutMs)) == 0) return ETIMEDOUT;
    }
    return receiveFrame(fd, 0, answer);
}

/** Returns the descriptor in a call's parcel, or -1. */
int descriptorOf(const Parcel& data) {
    if (!data.hasFileDescriptors()) return -1;
    const size_t position = data.dataPosition();
    data.setDataPosition(0);
    const int fd = data.readFileDescriptor();
    data.setDataPosition(position);
    return fd;
}

bool meansDead(int error) {
    return error == ECONNREFUSED || error == ENOENT || error == EPIPE;
}

}  // namespace

Proxy::Proxy(std::string path, std::string address, unique_fd connection)
      : mPath(std::move(path)), mAddress(std::move(address)) {
    keepIdle(std::move(connection));
}

Proxy::~Proxy() = default;

status_t Proxy::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    if (data.errorCheck() != NO_ERROR) return data.errorCheck();
    if (!mAlive) return DEAD_OBJECT;
    if (data.dataSize() > kTransactionSpace) {
        ALOGE("a call of %zu bytes is too large", data.dataSize());
        return FAILED_TRANSACTION;
    }
    int error = 0;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        unique_fd connection = takeIdle();
        if (!connection.ok()) error = openConnection(&connection);
        if (!connection.ok()) break;
        Frame answer;
        bool mayHaveArrived = true;
        error = exchange(connection, code, data, flags, &answer, &mayHaveArrived);
        if (error == 0) {
            keepIdle(std::move(connection));
            const auto status = static_cast<status_t>(answer.code);
            if (status != NO_ERROR || reply == nullptr || (flags & FLAG_ONEWAY) != 0) return status;
            return reply->setData(answer.body.data(), answer.body.size());
        }
        if (mayHaveArrived) break;
        closeIdle();  // the others are as old as the one that failed
    }
    if (!meansDead(error)) {
        ALOGE("call %u failed: %s", code, strerror(error));
        return FAILED_TRANSACTION;
    }
    mAlive = false;
    closeIdle();
    return DEAD_OBJECT;
}

int Proxy::exchange(const unique_fd& connection, uint32_t code, const Parcel& data, uint32_t flags,
                    Frame* answer, bool* mayHaveArrived) {
    const int sent = sendFrame(connection.get(), 0, code, flags, data.data(), data.dataSize(),
                               descriptorOf(data));
    if (sent != 0) {
        // If the connection was already closed, the server has not read the call.
        *mayHaveArrived = sent != EPIPE && sent != ECONNRESET;
        return sent == EPIPE ? ECONNRESET : sent;
    }
    const int received = receiveAnswer(connection.get(), (flags & FLAG_ONEWAY) != 0, answer);
    *mayHaveArrived = received != ECONNRESET;
    return received;
}

int Proxy::openConnection(unique_fd* connection) {
    std::string address;
    unique_fd opened = connectTo(mPath, &address);
    if (!opened.ok()) return errno;
    if (address != mAddress) return ENOENT;  // another server has this name now
    *connection = std::move(opened);
    return 0;
}

unique_fd Proxy::takeIdle() {
    const Mutex::Autolock lock(mLock);
    if (mIdle.empty()) return unique_fd();
    unique_fd connection = std::move(mIdle.back());
    mIdle.pop_back();
    return connection;
}

void Proxy::keepIdle(unique_fd connection) {
    const Mutex::Autolock lock(mLock);
    if (mIdle.size() < kMaxIdleConnections) mIdle.push_back(std::move(connection));
}

void Proxy::closeIdle() {
    const Mutex::Autolock lock(mLock);
    mIdle.clear();
}

// No program of the phone asks a proxy for its interface, or attaches objects to it.
const String16& Proxy::getInterfaceDescriptor() const {
    static const String16& none = *new String16;
    return none;
}

bool Proxy::isBinderAlive() const {
    return mAlive;
}

status_t Proxy::pingBinder() {
    Parcel data;
    Parcel reply;
    return transact(PING_TRANSACTION, data, &reply, 0);
}

status_t Proxy::dump(int fd, const Vector<String16>& args) {
    Parcel data;
    Parcel reply;
    data.writeFileDescriptor(fd, false);
    data.writeInt32(static_cast<int32_t>(args.size()));
    for (const String16& arg : args) data.writeString16(arg);
    return transact(DUMP_TRANSACTION, data, &reply, 0);
}

status_t Proxy::linkToDeath(const sp<DeathRecipient>&, void*, uint32_t) {
    return INVALID_OPERATION;
}

status_t Proxy::unlinkToDeath(const wp<DeathRecipient>&, void*, uint32_t, wp<DeathRecipient>*) {
    return INVALID_OPERATION;
}

void Proxy::attachObject(const void*, void*, void*, object_cleanup_func) {}

void* Proxy::findObject(const void*) const {
    return nullptr;
}

void Proxy::detachObject(const void*) {}

}  // namespace android::kavel::host
