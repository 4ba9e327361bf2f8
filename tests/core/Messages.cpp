#include "tests/core/Messages.h"

namespace android::kavel::test {
namespace {

std::string padded(std::string text, size_t size) {
    text.resize(size);
    return text;
}

std::string netlinkMessage(uint16_t type, const std::string& body) {
    return number(16 + body.size(), 4) + number(type, 2) + number(0, 2) + number(0, 4) +
           number(0, 4) + body;
}

std::string attribute(uint16_t type, const std::string& data) {
    return number(4 + data.size(), 2) + number(type, 2) + padded(data, (data.size() + 3) / 4 * 4);
}

}  // namespace

std::string number(uint64_t value, size_t bytes) {
    std::string text;
    for (size_t i = 0; i < bytes; ++i) text += static_cast<char>((value >> (8 * i)) & 0xFF);
    return text;
}

std::string packet(uint32_t type, const std::string& tag, const std::string& eventId,
                   const std::string& payload) {
    return number(type, 4) + padded(tag, 128) + padded(eventId, 128) + number(payload.size(), 8) +
           payload;
}

std::string genlMessage(uint16_t attributeType, const std::string& packet) {
    return netlinkMessage(
            0x1c, number(1, 1) + number(1, 1) + number(0, 2) + attribute(attributeType, packet));
}

std::string compatMessage(const std::string& packet) {
    return netlinkMessage(1, packet);
}

std::string familyReply(const std::vector<std::pair<uint16_t, std::string>>& attributes) {
    std::string body = number(1, 1) + number(2, 1) + number(0, 2);
    for (const auto& [type, data] : attributes) body += attribute(type, data);
    return netlinkMessage(16, body);
}

std::string familyReply(uint16_t familyId) {
    return familyReply({{2, std::string("kavel_monitor") + '\0'}, {1, number(familyId, 2)}});
}

}  // namespace android::kavel::test
