#pragma once

#include <deque>
#include <optional>
#include <string>

#include "core/KavelKeventThread.h"

namespace android::kavel::test {

/**
 * The kernel's end of the netlink channel, in place of the thread's socket calls, which are wrapped
 * at link time. Logs those that change something, with the tag "kernel". Only one at a time.
 */
class TestKernel {
  public:
    TestKernel() { sKernel = this; }
    ~TestKernel() { sKernel = nullptr; }
    TestKernel(const TestKernel&) = delete;
    TestKernel& operator=(const TestKernel&) = delete;

    inline static TestKernel* sKernel = nullptr;  ///< the one that there is
    std::string release = "5.10.0";               ///< of the kernel; if empty, uname() fails
    int socketError = 0;                          ///< errno of socket(), or 0
    int bindError = 0;                            ///< errno of bind(), or 0
    bool mayForceBuffer = true;                   ///< whether SO_RCVBUFFORCE is permitted
    std::deque<std::string> messages;             ///< what the thread receives
    uint32_t sender = 0;            ///< port that packets come from; 0 is the kernel's
    std::deque<int> sendFaults;     ///< for each send: -errno, or the maximum number of bytes
    std::deque<int> receiveFaults;  ///< for each receive of a packet: -errno, or 0

    /**
     * Runs threadLoop() on this thread until nothing is left to receive. Returns its result, or
     * nullopt if it has not ended.
     */
    std::optional<bool> run(KavelKeventThread& thread);
};

}  // namespace android::kavel::test
