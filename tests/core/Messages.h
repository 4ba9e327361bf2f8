#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace android::kavel::test {

// What the kernel puts on the wire, built byte by byte and without the daemon's own structures.

/** The low @p bytes bytes of @p value, in host order. */
std::string number(uint64_t value, size_t bytes);

/** One report, without the NUL that ends its payload. */
std::string packet(uint32_t type, const std::string& tag, const std::string& eventId,
                   const std::string& payload);

/** The packet as a generic netlink message's only attribute. */
std::string genlMessage(uint16_t attributeType, const std::string& packet);
/** The packet behind a netlink header. */
std::string compatMessage(const std::string& packet);

/** A reply to a family look-up, holding these attributes: type and data. */
std::string familyReply(const std::vector<std::pair<uint16_t, std::string>>& attributes);
/** The usual one: name first, id second. */
std::string familyReply(uint16_t familyId);

}  // namespace android::kavel::test
