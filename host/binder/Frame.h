#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace android::kavel::host {

/** Room of one process for calls in flight: what the driver maps for it, 1 MiB less two pages. */
inline constexpr size_t kTransactionSpace = (size_t{1} << 20) - 2 * size_t{4096};
/** The part of it that one-way calls may take. */
inline constexpr size_t kOneWaySpace = kTransactionSpace / 2;

/** One call or one answer. */
struct Frame {
    uint32_t code = 0;   ///< transaction code of a call, status of an answer
    uint32_t flags = 0;  ///< IBinder's transaction flags; 0 in an answer
    std::vector<uint8_t> body;
};

/**
 * Sends one frame on a seqpacket socket, as a whole or not at all.
 *
 * @param flags  for sendmsg, besides MSG_NOSIGNAL
 * @return 0, or the errno of the failure (EPIPE or ECONNRESET where the peer is gone)
 */
int sendFrame(int fd, int flags, uint32_t code, uint32_t transactionFlags, const uint8_t* body,
              size_t size);

/**
 * Receives one frame.
 *
 * @param flags  for recvmsg
 * @return 0, EPIPE where the peer has closed, EBADMSG for anything that is no frame, or the errno;
 *         ECONNRESET says that the peer closed without reading all that was sent to it
 */
int receiveFrame(int fd, int flags, Frame* frame);

}  // namespace android::kavel::host
