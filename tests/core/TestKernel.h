#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include <android-base/unique_fd.h>

#include "core/KavelKeventThread.h"

namespace android::kavel::test {

/**
 * The other end of the netlink channel. The thread's socket calls are wrapped at link time: its
 * socket is a real one, of the netlink protocol that any two processes may use with each other, and
 * what it sends to the kernel's port arrives here. One at a time.
 */
class TestKernel {
  public:
    TestKernel();
    ~TestKernel();
    TestKernel(const TestKernel&) = delete;
    TestKernel& operator=(const TestKernel&) = delete;

    // Before run():
    std::string release = "5.10.0";     ///< what uname() tells; empty: it fails
    int socketError = 0;                ///< errno of socket(), or 0
    int bindError = 0;                  ///< errno of bind(), or 0
    bool mayForceBuffer = true;         ///< whether SO_RCVBUFFORCE is permitted
    std::vector<std::string> messages;  ///< sent as soon as the socket is bound
    uint32_t sender = 0;                ///< port that the packets come from; 0: the kernel's
    std::deque<int> sendFaults;         ///< per send: -errno, or at most that many bytes
    std::deque<int> receiveFaults;      ///< per receive: -errno, or 0

    /**
     * threadLoop() on this thread, until nothing is left to receive. What it returned, or nothing
     * where it would have gone on for ever.
     */
    std::optional<bool> run(KavelKeventThread& thread);

    /** Sends one message to the socket. */
    void send(const std::string& message);
    /** The next message that arrived here, or "" once there is none. */
    std::string received();

    // After run():
    std::vector<int> protocols;      ///< that sockets were asked for
    std::vector<int> bufferOptions;  ///< that were set on the socket
    int receives = 0;                ///< attempts to receive a packet
    bool isWellAddressed = true;     ///< all went to port 0 and came in as asked for

    base::unique_fd fd;
};

}  // namespace android::kavel::test
