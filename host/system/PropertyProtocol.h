#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/system/PropertyRules.h"

namespace android::kavel::host {

/**
 * The request on the service's stream socket, as in bionic: command, name length, name, value
 * length, value. The answer is one PropertyStatus. Numbers are 32 bits in the machine's order.
 */
constexpr uint32_t kPropertySetCommand = 0x00020001;  // PROP_MSG_SETPROP2

std::string encodeSetRequest(std::string_view name, std::string_view value);

/** What the bytes received so far amount to. */
struct SetRequest {
    enum class State { kIncomplete, kComplete, kBroken };
    State state = State::kIncomplete;
    PropertyStatus error = PropertyStatus::kSuccess; /**< Set when broken. */
    std::string name;                                /**< Both set when complete. */
    std::string value;
};
/**
 * Lengths are judged as soon as they are there, so a request never needs more memory than the
 * longest legal one.
 */
SetRequest decodeSetRequest(std::string_view bytes);

}  // namespace android::kavel::host
