#pragma once

#include <cstddef>

namespace android {

namespace kavel {

/** Init's name of the socket, a stream socket below /dev/socket. */
inline constexpr const char* kControlSocketName = "kavel_socket";

/** The longest record that is read whole, in characters; its NUL comes behind. */
inline constexpr size_t kMaxRawRecord = 255;

}  // namespace kavel

/**
 * Waits for the control socket that init makes, serves one connection to its end, and forgets what
 * the matcher knows. The socket is not served again in the life of the process.
 *
 * Blocks the calling thread for as long as that takes, possibly for ever. Ends the process where
 * the socket cannot be listened on or accepted from.
 *
 * @return 0
 */
int kavel_socketLoop();

/**
 * Reader thread: hands each record to sendRawEvent() until the third failed receive, of which the
 * peer's closing is one. Ends the calling thread.
 *
 * @param fdPointer  points at the connection's descriptor, which stays the caller's
 */
void* recvEvents(void* fdPointer);

}  // namespace android
