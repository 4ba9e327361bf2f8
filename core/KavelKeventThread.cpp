#include "core/KavelKeventThread.h"

#include <cerrno>
#include <cinttypes>
#include <cstring>

#include <sys/socket.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "core/KernelChannel.h"
#include "platform/Log.h"

// Set-up lines are logged as errors even on success: bring-up engineers filter by that level.
#define LOG_SETUP(...) __android_log_print(ANDROID_LOG_ERROR, "kavel_kevent", __VA_ARGS__)
#define LOG_INFO(...) __android_log_print(ANDROID_LOG_INFO, "kavel_kevent", __VA_ARGS__)
#define LOG_DEBUG(...) __android_log_print(ANDROID_LOG_DEBUG, "kavel_kevent", __VA_ARGS__)

namespace android {

using kavel::ChannelState;
using kavel::kernelChannel;
using kavel::kKeventDataSize;
using kavel::MutexLock;

namespace {

constexpr int kCompatProtocol = 43;
// Limit of the receive buffer, not an allocation. A full-size packet (992 bytes: headers and 700
// bytes of payload) uses 2304 bytes of it: 1024 bytes of data and 320 bytes of skb_shared_info from
// kmalloc-2048, and 256 bytes of struct sk_buff (see SKB_TRUESIZE in linux/skbuff.h). A burst of
// 20,000 packets needs 44 MiB. The kernel doubles the requested size, so there is space for 29,000
// packets.
constexpr int kReceiveBufferSize = 32 * 1024 * 1024;
constexpr char kFamilyName[] = "kavel_monitor";
constexpr char kRegistration[] = "kavel_kevent";

sockaddr_nl netlinkAddress(uint32_t portId) {
    sockaddr_nl address = {};
    address.nl_family = AF_NETLINK;
    address.nl_pid = portId;
    return address;
}

ssize_t sendToKernel(int fd, const void* data, size_t size) {
    const sockaddr_nl kernel = netlinkAddress(0);
    return sendto(fd, data, size, 0, reinterpret_cast<const sockaddr*>(&kernel), sizeof(kernel));
}

uint32_t ownPort() {
    return static_cast<uint32_t>(getpid());
}

const char* asText(bool value) {
    return value ? "true" : "false";
}

/**
 * Makes the receive buffer large enough for a burst of packets that arrives while one is handled.
 */
void raiseReceiveBuffer(int fd) {
    const int size = kReceiveBufferSize;
    if (setsockopt(fd, SOL_SOCKET, SO_RCVBUFFORCE, &size, sizeof(size)) != 0) {
        setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof(size));
    }
}

}  // namespace

KavelKeventThread::KavelKeventThread(bool (*callback)(kavel_kevent_packet*))
      : Thread(/*canCallJava=*/true),
        mRecvData(static_cast<char*>(calloc(1, kKeventDataSize + 1))),
        mCallback(callback) {
    if (mRecvData == nullptr) LOG_DEBUG("KavelKeventThread mRecvData malloc fail");
}

KavelKeventThread::~KavelKeventThread() = default;

int KavelKeventThread::getKernelVersion() {
    utsname kernel = {};
    if (uname(&kernel) != 0) {
        LOG_SETUP("KavelKeventThread uname call failed\n");
        return -1;
    }
    const std::optional<bool> isGki2 = kavel::isGki2Release(kernel.release);
    if (!isGki2) {
        // Tools that read the log depend on the spelling "kerenl".
        LOG_SETUP("KavelKeventThread get kerenl version from uname: %s failed\n", kernel.release);
        return -1;
    }
    mIsGki2 = *isGki2;
    LOG_SETUP("GKI2 is %s\n", asText(mIsGki2));
    return 0;
}

bool KavelKeventThread::threadLoop() {
    if (mRecvData == nullptr) {
        kernelChannel().state = ChannelState::NoMemory;
        return false;
    }
    if (getKernelVersion() != 0) {
        LOG_SETUP("can not get kernel version, default treat mIsGki2 as false\n");
    }
    kernelChannel().isGeneric = mIsGki2;
    if (!openSocket() || !registerWithKernel()) return false;
    while (true) {
        const int received = mIsGki2 ? recvKeventGki2() : recvKeventComp();
        if (received < 1 || mCallback == nullptr) continue;
        LOG_DEBUG("KavelKeventThread hook recv\n");
        const bool result = mCallback(mPacket);
        LOG_DEBUG("KavelKeventThread hook ret=%d\n", result);
    }
}

bool KavelKeventThread::openSocket() {
    LOG_SETUP("mIsGki2 is %s\n", asText(mIsGki2));
    const int protocol = mIsGki2 ? NETLINK_GENERIC : kCompatProtocol;
    getKernelVersion();  // called again for its log line only

    const int fd = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, protocol);
    const int error = errno;
    mEventFd.reset(fd);
    LOG_SETUP("mEventFd %d\n", fd);
    if (fd < 0) {
        kernelChannel().state = ChannelState::NoSocket;
        LOG_SETUP("can not create a socket %d %d\n", fd, error);
        return false;
    }
    LOG_SETUP("KavelKeventThread socket bind pid %d.\n", getpid());
    const sockaddr_nl self = netlinkAddress(ownPort());
    const int result = bind(fd, reinterpret_cast<const sockaddr*>(&self), sizeof(self));
    LOG_SETUP("bind ret %d\n", result);
    if (result < 0) {
        mEventFd.reset();
        kernelChannel().state = ChannelState::NotBound;
        LOG_SETUP("KavelKeventThread socket bind error.\n");
        return false;
    }
    raiseReceiveBuffer(fd);
    return true;
}

bool KavelKeventThread::registerWithKernel() {
    // The kernel takes our port from the header of this message.
    int result = 0;
    if (mIsGki2) {
        mFamilyId = genlGetFamilyId(kFamilyName);
        if (mFamilyId < 0) {
            kernelChannel().state = ChannelState::NoFamily;
            LOG_SETUP("KavelKeventThread get genl family id failed.\n");
            return false;
        }
        result = sendKeventGki2(kRegistration, sizeof(kRegistration));
    } else {
        result = sendKeventComp(1, 0, kRegistration);
    }
    const bool isSent = mIsGki2 ? result == 0 : result > 0;
    kernelChannel().state = isSent ? ChannelState::Registered : ChannelState::NotSent;
    // sendKeventComp() returns a byte count, so this line also follows a successful send. Bring-up
    // scripts wait for it.
    if (result != 0) LOG_SETUP("KavelKeventThread send to kernel my pid failed.\n");
    return true;
}

int KavelKeventThread::genlGetFamilyId(const char* name) {
    MutexLock lock(mLock);
    const int result = genlSendMsg(GENL_ID_CTRL, CTRL_CMD_GETFAMILY, 1, CTRL_ATTR_FAMILY_NAME, name,
                                   static_cast<uint16_t>(strlen(name) + 1));
    // The kernel replies during the send. If the send failed, a blocking receive might never
    // return.
    const int flags = result == 0 ? 0 : MSG_DONTWAIT;
    const ssize_t received = recv(mEventFd.get(), &mMsgBuf, sizeof(mMsgBuf), flags);
    return kavel::familyIdOf(mMsgBuf, received);
}

int KavelKeventThread::genlSendMsg(uint16_t type, uint8_t cmd, uint8_t version, uint16_t attrType,
                                   const void* data, uint16_t dataLen) {
    if (dataLen > kavel::kMaxGenlData) return -1;
    kavel::fillGenlMessage(mMsgBuf, type, cmd, version, attrType, data, dataLen, ownPort());

    const char* rest = reinterpret_cast<const char*>(&mMsgBuf);
    size_t left = mMsgBuf.netlink.nlmsg_len;
    while (left > 0) {
        const ssize_t sent = sendToKernel(mEventFd.get(), rest, left);
        if (sent > 0) {
            rest += sent;
            left -= static_cast<size_t>(sent);
        } else if (errno != EAGAIN) {
            return -1;
        }
    }
    return 0;
}

int KavelKeventThread::sendKeventGki2(const char* data, int len) {
    if (len >= static_cast<int>(kKeventDataSize)) {
        LOG_SETUP("sendKeventGki2 error, payloadlen %d is overflow\n", len);
        return -1;
    }
    MutexLock lock(mLock);
    return genlSendMsg(static_cast<uint16_t>(mFamilyId), 1, 1, 1, data, static_cast<uint16_t>(len));
}

int KavelKeventThread::sendKeventComp(int type, int flag, const char* data) {
    MutexLock lock(mLock);
    LOG_INFO("KavelKeventThread sendKevent");
    const size_t length = strlen(data);
    if (length > kavel::kMaxCompatData) return -1;
    kavel::CompatMessage message;
    const size_t size = kavel::fillCompatMessage(message, static_cast<uint16_t>(type),
                                                 static_cast<uint16_t>(flag), data, ownPort());
    const ssize_t sent = sendToKernel(mEventFd.get(), &message, size);
    LOG_INFO("KavelKeventThread send: type=0x%x, flag=0x%x, data=%s, len=%zd", type, flag, data,
             static_cast<ssize_t>(length));
    if (sent > 0) return static_cast<int>(sent);
    LOG_SETUP("KavelKeventThread send error %d\n", static_cast<int>(sent));
    return -1;
}

/**
 * Returns the number of bytes received into mRecvData, or -EINVAL. Repeated failures are logged
 * less and less often.
 */
int KavelKeventThread::receiveLocked(const char* startLine) {
    // After a single failure the next receive is still logged as usual.
    if (mReceiveFailures.count() < 2) LOG_INFO("%s", startLine);
    memset(mRecvData.get(), 0, kKeventDataSize);
    sockaddr_nl source = netlinkAddress(0);
    socklen_t sourceSize = sizeof(source);
    const ssize_t received = recvfrom(mEventFd.get(), mRecvData.get(), kKeventDataSize, 0,
                                      reinterpret_cast<sockaddr*>(&source), &sourceSize);
    const int error = received < 0 ? errno : 0;
    if (received > 0 && source.nl_pid != 0) {
        ++kernelChannel().foreign;
        // Privileged processes can send to another process's netlink port. Accept only the kernel.
        if (mForeignPackets.add()) {
            LOG_SETUP("KavelKeventThread packet of port %u dropped, %" PRIu64 " so far\n",
                      source.nl_pid, mForeignPackets.count());
        }
        return -EINVAL;
    }
    if (received > 0) {
        ++kernelChannel().packets;
        mReceiveFailures.reset();
        return static_cast<int>(received);
    }
    ++kernelChannel().receiveFailures;
    if (mReceiveFailures.add()) {
        LOG_SETUP("KavelKeventThread receive from kernel failed\n");
        if (mReceiveFailures.count() > 1) {
            LOG_SETUP("KavelKeventThread receive failed %" PRIu64 " times in a row, errno %d\n",
                      mReceiveFailures.count(), error);
        }
    }
    return -EINVAL;
}

void KavelKeventThread::logPacketLocked() {
    LOG_INFO("KavelKeventThread recv type=%d, tag=%.128s, event_id=%.128s, payload:%s, len=%zd\n",
             static_cast<int>(mPacket->type), mPacket->tag, mPacket->event_id, mPacket->payload,
             static_cast<ssize_t>(mPacket->len));
}

int KavelKeventThread::recvKeventGki2() {
    MutexLock lock(mLock);
    const int received = receiveLocked("KavelKeventThread recvKeventGki2");
    if (received < 0) return received;
    char* const message = mRecvData.get();
    mPacket = reinterpret_cast<kavel_kevent_packet*>(message + kavel::kGenlPacketOffset);
    // In this dialect the type of the attribute is the type of the packet.
    nlattr attribute = {};
    memcpy(&attribute, message + kavel::kGenlPacketOffset - NLA_HDRLEN, sizeof(attribute));
    if (attribute.nla_type >= KEVENT_TYPE_LOG && attribute.nla_type <= KEVENT_TYPE_EVENT) {
        mPacket->type = attribute.nla_type;
    } else {
        ++kernelChannel().malformed;
        LOG_SETUP("recvKeventGki2 invalid attr type\n");
    }
    logPacketLocked();
    return received;
}

int KavelKeventThread::recvKeventComp() {
    MutexLock lock(mLock);
    const int received = receiveLocked("KavelKeventThread recvKevent");
    if (received < 0) return received;
    mPacket = reinterpret_cast<kavel_kevent_packet*>(mRecvData.get() + kavel::kCompatPacketOffset);
    logPacketLocked();
    return received;
}

}  // namespace android
