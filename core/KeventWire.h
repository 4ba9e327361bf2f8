#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include <sys/types.h>

#include <linux/genetlink.h>
#include <linux/netlink.h>

namespace android::kavel {

// The two message formats of the kernel's monitor. These functions only convert bytes; they use no
// socket.

/** Number of bytes after the netlink header in each of the daemon's buffers. */
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

/**
 * Maximum number of data bytes whose attribute, with header and padding, fits into a GenlMessage.
 */
inline constexpr size_t kMaxGenlData = 1007;
/** Maximum number of characters that the compat dialect sends. */
inline constexpr size_t kMaxCompatData = 1011;

/** Offset of the packet in a received message. */
inline constexpr size_t kGenlPacketOffset = NLMSG_HDRLEN + GENL_HDRLEN + NLA_HDRLEN;
inline constexpr size_t kCompatPacketOffset = NLMSG_HDRLEN;
static_assert(kGenlPacketOffset == 24 && kCompatPacketOffset == 16);

/**
 * Whether a kernel with this release text uses generic netlink (5.10 or newer). Returns nullopt if
 * the text is not a release.
 */
std::optional<bool> isGki2Release(const char* release);

/**
 * Fills @p message with one attribute. The attribute's length field contains the padded length,
 * because the kernel module expects that.
 *
 * @param dataLen  at most kMaxGenlData
 */
void fillGenlMessage(GenlMessage& message, uint16_t type, uint8_t cmd, uint8_t version,
                     uint16_t attrType, const void* data, size_t dataLen, uint32_t portId);

/**
 * Fills @p message with a header and the text, without a terminating NUL.
 *
 * @param text  at most kMaxCompatData characters
 * @return number of bytes to send
 */
size_t fillCompatMessage(CompatMessage& message, uint16_t type, uint16_t flags,
                         std::string_view text, uint32_t portId);

/**
 * Returns the family id from the reply to a family look-up: -1 if the @p received bytes are not a
 * valid reply, 0 if the second attribute is not the id.
 */
int familyIdOf(const GenlMessage& reply, ssize_t received);

}  // namespace android::kavel
