#include "tools/RawEventSender.h"

#include <cutils/sockets.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <thread>

#include "tools/CommandLine.h"

namespace android::kavel::tools {
namespace {

constexpr auto kLookAgain = std::chrono::microseconds(100);

/**
 * Sends @p text as a separate piece. The daemon takes the result of one receive as one record, but
 * one receive on a stream may return two records. A receive never continues after data with an
 * attached descriptor (unix(7), SCM_RIGHTS). The daemon does not accept the descriptor, so the
 * kernel closes it.
 */
bool sendSeparately(int socket, std::string text, int barrier) {
    iovec piece = {text.data(), text.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(barrier))] = {};
    msghdr message = {};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof(control);
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(barrier));
    memcpy(CMSG_DATA(header), &barrier, sizeof(barrier));
    return TEMP_FAILURE_RETRY(sendmsg(socket, &message, MSG_NOSIGNAL)) ==
           static_cast<ssize_t>(text.size());
}

/** Returns the number of bytes that the peer has not read yet, as counted by the kernel. */
int unreadBytes(int socket) {
    int bytes = 0;
    return ioctl(socket, SIOCOUTQ, &bytes) == 0 ? bytes : 0;
}

}  // namespace

void RawEventSender::send(const std::string& record) {
    if (!mConnection.ok()) connect();
    std::string text = record;
    text += '\0';
    if (!sendSeparately(mConnection.get(), std::move(text), mBarrier.get())) fail(strerror(errno));
    awaitReader();
    ++mSent;
}

void RawEventSender::connect() {
    // Non-blocking, so that a full backlog is an error at once: it never becomes free again.
    mConnection.reset(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    mBarrier.reset(open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (mConnection.ok() && mBarrier.ok() &&
        socket_local_client_connect(mConnection.get(), mPath.c_str(),
                                    ANDROID_SOCKET_NAMESPACE_FILESYSTEM, SOCK_STREAM) >= 0) {
        return;
    }
    throw CommandError("cannot connect to " + mPath + ": " + strerror(errno) +
                       " (is dravo_kavel started, and is this its first connection?)");
}

void RawEventSender::awaitReader() const {
    const auto deadline = std::chrono::steady_clock::now() + mPatience;
    while (unreadBytes(mConnection.get()) > 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(mPatience);
            fail("not read within " + std::to_string(seconds.count()) + " s");
        }
        std::this_thread::sleep_for(kLookAgain);
    }
    // If the peer closes the connection, unread data is removed from the queue as well.
    int error = 0;
    socklen_t size = sizeof(error);
    getsockopt(mConnection.get(), SOL_SOCKET, SO_ERROR, &error, &size);
    if (error != 0) fail(strerror(error));
}

void RawEventSender::fail(const std::string& reason) const {
    throw CommandError("record " + std::to_string(mSent + 1) + " is lost: " + reason +
                       " (does the daemon serve another connection?); records sent before it: " +
                       std::to_string(mSent));
}

}  // namespace android::kavel::tools
