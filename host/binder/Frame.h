#pragma once

#include <android-base/unique_fd.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace android::kavel::host {

/** Maximum bytes of the pending calls of a process: the driver's mapping, 1 MiB less two pages. */
inline constexpr size_t kTransactionSpace = (size_t{1} << 20) - 2 * size_t{4096};
/** Maximum bytes of the pending one-way calls of a process. */
inline constexpr size_t kOneWaySpace = kTransactionSpace / 2;

/** A call or an answer. It can only be moved, because it may own a descriptor. */
struct Frame {
    uint32_t code = 0;   ///< transaction code of a call, status of an answer
    uint32_t flags = 0;  ///< IBinder's transaction flags; 0 in an answer
    std::vector<uint8_t> body;
    base::unique_fd descriptor;  ///< that the sender has passed; usually none
};

/**
 * Sends one frame on a seqpacket socket, as a whole or not at all.
 *
 * @param flags       for sendmsg, in addition to MSG_NOSIGNAL
 * @param descriptor  to pass to the receiver, or -1; only with a body of at most 64 KiB
 * @return 0, or the errno of the failure (EPIPE or ECONNRESET if the peer has gone)
 */
int sendFrame(int fd, int flags, uint32_t code, uint32_t transactionFlags, const uint8_t* body,
              size_t size, int descriptor = -1);

/**
 * Receives one frame.
 *
 * @param flags  for recvmsg
 * @return 0; EPIPE if the peer has closed the connection, ECONNRESET if it did so before it had
 *         read everything; EBADMSG for an invalid frame; or another errno
 */
int receiveFrame(int fd, int flags, Frame* frame);

}  // namespace android::kavel::host
