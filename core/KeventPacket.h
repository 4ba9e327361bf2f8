#pragma once

#include <cstddef>
#include <cstdint>

namespace android {

/** Type of a packet, in its `type` field or as the type of the attribute that contains it. */
enum KavelKeventType : uint32_t {
    KEVENT_TYPE_LOG = 1,
    KEVENT_TYPE_STATISTIC = 2,
    KEVENT_TYPE_EVENT = 3,
};

/** One report of the kernel in its wire format: host byte order, no padding. */
struct __attribute__((packed)) kavel_kevent_packet {
    uint32_t type;
    char tag[128];       ///< NUL-terminated
    char event_id[128];  ///< NUL-terminated
    uint64_t len;        ///< of the payload; only logged
    char payload[];      ///< NUL-terminated
};

static_assert(offsetof(kavel_kevent_packet, tag) == 4);
static_assert(offsetof(kavel_kevent_packet, event_id) == 132);
static_assert(offsetof(kavel_kevent_packet, len) == 260);
static_assert(offsetof(kavel_kevent_packet, payload) == 268);

}  // namespace android
