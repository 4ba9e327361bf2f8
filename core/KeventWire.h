#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include <sys/types.h>

#include <linux/genetlink.h>
#include <linux/netlink.h>

namespace android::kavel {

// The two dialects in which the kernel's monitor speaks. Bytes in, values out; no socket here.

/** Bytes behind the netlink headers in each of the daemon's buffers. */
inline constexpr size_t kKeventDataSize = 1012;

/** Outgoing and control message of the generic netlink dialect. */
struct GenlMessage {
    nlmsghdr netlink;
    genlmsghdr genl;
    char data[kKeventDataSize];
};
static_assert(sizeof(GenlMessage) == 1032);

/** Outgoing message of the compat dialect. */
struct CompatMessage {
    nlmsghdr netlink;
    char data[kKeventDataSize];
};

/** Longest data whose attribute, header and padding included, fits a GenlMessage. */
inline constexpr size_t kMaxGenlData = 1007;
/** Longest text that the compat dialect sends. */
inline constexpr size_t kMaxCompatData = 1011;

/** Where the packet starts in a received message. */
inline constexpr size_t kGenlPacketOffset = NLMSG_HDRLEN + GENL_HDRLEN + NLA_HDRLEN;
inline constexpr size_t kCompatPacketOffset = NLMSG_HDRLEN;
static_assert(kGenlPacketOffset == 24 && kCompatPacketOffset == 16);

/** Whether a kernel of that release text speaks generic netlink (5.10 and newer); nothing where
 * the text is not one. */
std::optional<bool> isGki2Release(const char* release);

/**
 * Fills @p message with one attribute. The attribute's length field holds the padded length: that
 * is what the kernel's side of this dialect was built with.
 *
 * @param dataLen  at most kMaxGenlData
 */
void fillGenlMessage(GenlMessage& message, uint16_t type, uint8_t cmd, uint8_t version,
                     uint16_t attrType, const void* data, size_t dataLen, uint32_t portId);

/**
 * Fills @p message with a header and the text, no terminating NUL.
 *
 * @param text  at most kMaxCompatData long
 * @return bytes to send
 */
size_t fillCompatMessage(CompatMessage& message, uint16_t type, uint16_t flags,
                         std::string_view text, uint32_t portId);

/**
 * The family id in the reply to a family look-up: -1 where @p received bytes are no valid reply, 0
 * where the second attribute is not the id.
 */
int familyIdOf(const GenlMessage& reply, ssize_t received);

}  // namespace android::kavel
