#include "host/binder/Frame.h"

#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace android::kavel::host {
namespace {

using base::unique_fd;

constexpr uint32_t kMagic = 0x3142564b;  // "KVB1"
// Maximum size of a body in a packet. A larger one is sent as a memory file, because it may not fit
// into the socket's send buffer.
constexpr size_t kInlineLimit = size_t{64} * 1024;

struct Header {
    uint32_t magic;
    uint32_t code;
    uint32_t flags;
    uint32_t size;
};

union Control {
    cmsghdr align;
    char bytes[CMSG_SPACE(sizeof(int))];
};

bool isAttached(size_t size) {
    return size > kInlineLimit;
}

unique_fd memoryWith(const uint8_t* body, size_t size) {
    unique_fd memory(memfd_create("binder_call", MFD_CLOEXEC));
    for (size_t done = 0; memory.ok() && done < size;) {
        const ssize_t count = TEMP_FAILURE_RETRY(write(memory.get(), body + done, size - done));
        if (count < 0) return unique_fd();
        done += static_cast<size_t>(count);
    }
    return memory;
}

bool readMemory(int memory, std::vector<uint8_t>* body) {
    // Only memory files have seals. A read from any other descriptor could block.
    if (fcntl(memory, F_GET_SEALS) < 0) return false;
    for (size_t done = 0; done < body->size();) {
        const ssize_t count = TEMP_FAILURE_RETRY(
                pread(memory, body->data() + done, body->size() - done, static_cast<off_t>(done)));
        if (count <= 0) return false;
        done += static_cast<size_t>(count);
    }
    return true;
}

unique_fd takeDescriptor(msghdr* message) {
    const cmsghdr* control = CMSG_FIRSTHDR(message);
    if (control == nullptr || control->cmsg_level != SOL_SOCKET ||
        control->cmsg_type != SCM_RIGHTS) {
        return unique_fd();
    }
    int fd = -1;
    std::memcpy(&fd, CMSG_DATA(control), sizeof(fd));
    return unique_fd(fd);
}

bool isValid(const Header& header, size_t length) {
    if (length < sizeof(header) || header.magic != kMagic) return false;
    if (header.size > kTransactionSpace) return false;
    return length == sizeof(header) + (isAttached(header.size) ? 0 : header.size);
}

}  // namespace

int sendFrame(int fd, int flags, uint32_t code, uint32_t transactionFlags, const uint8_t* body,
              size_t size, int descriptor) {
    const bool hasMemory = isAttached(size);
    if (size > kTransactionSpace || (hasMemory && descriptor >= 0)) return EMSGSIZE;
    Header header{kMagic, code, transactionFlags, static_cast<uint32_t>(size)};
    iovec parts[2] = {{&header, sizeof(header)}, {const_cast<uint8_t*>(body), size}};
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = hasMemory ? 1 : 2;

    unique_fd memory;
    if (hasMemory) memory = memoryWith(body, size);
    if (hasMemory && !memory.ok()) return errno;
    const int attached = hasMemory ? memory.get() : descriptor;
    Control control{};
    if (attached >= 0) {
        message.msg_control = control.bytes;
        message.msg_controllen = sizeof(control.bytes);
        cmsghdr* rights = CMSG_FIRSTHDR(&message);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(sizeof(int));
        std::memcpy(CMSG_DATA(rights), &attached, sizeof(attached));
    }
    return TEMP_FAILURE_RETRY(sendmsg(fd, &message, flags | MSG_NOSIGNAL)) < 0 ? errno : 0;
}

int receiveFrame(int fd, int flags, Frame* frame) {
    Header header{};
    const ssize_t length =
            TEMP_FAILURE_RETRY(recv(fd, &header, sizeof(header), flags | MSG_PEEK | MSG_TRUNC));
    if (length < 0) return errno;
    if (length == 0) return EPIPE;
    if (!isValid(header, static_cast<size_t>(length))) return EBADMSG;

    frame->code = header.code;
    frame->flags = header.flags;
    frame->body.resize(header.size);
    iovec parts[2] = {{&header, sizeof(header)}, {frame->body.data(), frame->body.size()}};
    Control control{};
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = isAttached(header.size) ? 1 : 2;
    message.msg_control = control.bytes;
    message.msg_controllen = sizeof(control.bytes);
    if (TEMP_FAILURE_RETRY(recvmsg(fd, &message, flags | MSG_CMSG_CLOEXEC)) < 0) return errno;

    unique_fd attached = takeDescriptor(&message);
    if (!isAttached(header.size)) {
        frame->descriptor = std::move(attached);
        return 0;
    }
    return attached.ok() && readMemory(attached.get(), &frame->body) ? 0 : EBADMSG;
}

}  // namespace android::kavel::host
