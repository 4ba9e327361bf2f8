#pragma once

#include <atomic>
#include <cstdint>

namespace android::kavel {

/** What has become of the connection to the kernel's monitor. */
enum class ChannelState : uint8_t {
    Starting,
    Registered,
    NoMemory,
    NoSocket,
    NotBound,
    NoFamily,
    NotSent,  ///< the registration could not be sent
};

/** Returns the state as a text for people and tools. */
const char* channelText(ChannelState state);

/** State and counters of the kernel channel. Any thread. */
struct KernelChannel {
    std::atomic<ChannelState> state{ChannelState::Starting};
    std::atomic<bool> isGeneric{false};        ///< dialect: generic netlink, or else compat
    std::atomic<uint64_t> packets{0};          ///< of the kernel
    std::atomic<uint64_t> malformed{0};        ///< of these: no valid packet, statistic or type
    std::atomic<uint64_t> foreign{0};          ///< dropped, because another process has sent them
    std::atomic<uint64_t> receiveFailures{0};  ///< among others, each time the buffer was full
};

/** The object of the process. Never destroyed. */
KernelChannel& kernelChannel();

}  // namespace android::kavel
