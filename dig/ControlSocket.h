#pragma once

#include <cstddef>

namespace android {

namespace kavel {

/** Name of the socket in init's configuration: a stream socket in /dev/socket. */
inline constexpr const char* kControlSocketName = "kavel_socket";

/** Maximum number of characters of a raw event, without its NUL. */
inline constexpr size_t kMaxRawRecord = 255;

}  // namespace kavel

/**
 * Waits for the control socket that init creates, serves one connection until it ends, and clears
 * the matcher's events and patterns. The socket is not served again in the life of the process.
 *
 * Blocks the calling thread for that time, possibly forever. Ends the process if listening or
 * accepting fails.
 *
 * @return 0
 */
int kavel_socketLoop();

/**
 * Reader thread: passes each raw event to sendRawEvent() until the third failed receive. A closed
 * connection counts as a failed receive. Ends the calling thread.
 *
 * @param fdPointer  pointer to the descriptor of the connection; the caller keeps ownership
 */
void* recvEvents(void* fdPointer);

}  // namespace android
