#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace android::kavel {

enum class SocketState : uint8_t { Awaited, Listening, Connected, Ended };

/** Returns the state as a text for people and tools. */
const char* socketText(SocketState state);

/** State and counters of the control socket and the matcher. Any thread. */
struct DigStatus {
    std::atomic<SocketState> state{SocketState::Awaited};
    std::atomic<uint64_t> records{0};   ///< raw events
    std::atomic<uint64_t> corrupt{0};   ///< of these: dropped
    std::atomic<uint64_t> freezes{0};   ///< pairs that the matcher has found
    std::atomic<size_t> liveEvents{0};  ///< events that the matcher has now
};

/** The object of the process. Never destroyed. */
DigStatus& digStatus();

}  // namespace android::kavel
