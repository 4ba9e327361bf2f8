#include "core/KeventWire.h"

#include <cstdio>
#include <cstring>

namespace android::kavel {
namespace {

constexpr size_t kAttributesOffset = NLMSG_HDRLEN + GENL_HDRLEN;
constexpr int kGki2Since = (5 << 16) + (9 << 8) + 255;  // newer kernels use generic netlink

}  // namespace

std::optional<bool> isGki2Release(const char* release) {
    int major = 0;
    int minor = 0;
    int patch = 0;
    // NOLINTNEXTLINE(cert-err34-c): only the number of conversions matters
    if (sscanf(release, "%d.%d.%d", &major, &minor, &patch) != 3) return std::nullopt;
    return (int64_t{major} << 16) + (int64_t{minor} << 8) + patch > kGki2Since;
}

void fillGenlMessage(GenlMessage& message, uint16_t type, uint8_t cmd, uint8_t version,
                     uint16_t attrType, const void* data, size_t dataLen, uint32_t portId) {
    message = {};
    nlattr attribute = {};
    attribute.nla_len = static_cast<uint16_t>(NLA_ALIGN(NLA_HDRLEN + dataLen));
    attribute.nla_type = attrType;
    memcpy(message.data, &attribute, sizeof(attribute));
    if (dataLen > 0) memcpy(message.data + NLA_HDRLEN, data, dataLen);

    message.netlink.nlmsg_len = static_cast<uint32_t>(kAttributesOffset + attribute.nla_len);
    message.netlink.nlmsg_type = type;
    message.netlink.nlmsg_flags = NLM_F_REQUEST;
    message.netlink.nlmsg_pid = portId;
    message.genl.cmd = cmd;
    message.genl.version = version;
}

size_t fillCompatMessage(CompatMessage& message, uint16_t type, uint16_t flags,
                         std::string_view text, uint32_t portId) {
    message = {};
    message.netlink.nlmsg_len = static_cast<uint32_t>(NLMSG_HDRLEN + text.size());
    message.netlink.nlmsg_type = type;
    message.netlink.nlmsg_flags = flags;
    message.netlink.nlmsg_pid = portId;
    text.copy(message.data, sizeof(message.data));
    return message.netlink.nlmsg_len;
}

int familyIdOf(const GenlMessage& reply, ssize_t received) {
    const auto length = static_cast<size_t>(received);
    if (received < static_cast<ssize_t>(sizeof(nlmsghdr)) ||
        reply.netlink.nlmsg_type == NLMSG_ERROR || reply.netlink.nlmsg_len < sizeof(nlmsghdr) ||
        reply.netlink.nlmsg_len > length) {
        return -1;
    }
    // The reply contains the family's name first and its id second.
    const auto* const bytes = reinterpret_cast<const char*>(&reply);
    nlattr attribute = {};
    if (length < kAttributesOffset + NLA_HDRLEN) return 0;
    memcpy(&attribute, bytes + kAttributesOffset, sizeof(attribute));
    const size_t second = kAttributesOffset + NLA_ALIGN(attribute.nla_len);
    uint16_t familyId = 0;
    if (length < second + NLA_HDRLEN + sizeof(familyId)) return 0;
    memcpy(&attribute, bytes + second, sizeof(attribute));
    if (attribute.nla_type != CTRL_ATTR_FAMILY_ID) return 0;
    memcpy(&familyId, bytes + second + NLA_HDRLEN, sizeof(familyId));
    return familyId;
}

}  // namespace android::kavel
