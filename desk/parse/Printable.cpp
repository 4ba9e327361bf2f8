#include "desk/parse/Printable.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace kaveldesk {
namespace {

/** A character of UTF-8; its length is 0 if the text does not begin with one. */
struct Character {
    size_t length;
    uint32_t code;
};

Character characterAt(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x80) return {1, first};
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) return {0, 0};
    uint32_t code = first & (0x7Fu >> length);
    for (size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0) != 0x80) return {0, 0};
        code = code << 6 | (next & 0x3Fu);
    }
    constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < kSmallest[length] || code > 0x10FFFF || isSurrogate) return {0, 0};
    return {length, code};
}

bool isHarmless(uint32_t code) {
    if (code == '\t') return true;
    const bool isControl = code < 0x20 || (code >= 0x7F && code <= 0x9F);
    const bool turnsDirection = code == 0x200E || code == 0x200F ||
                                (code >= 0x2028 && code <= 0x202E) ||
                                (code >= 0x2066 && code <= 0x2069);
    return !isControl && !turnsDirection;
}

}  // namespace

std::string printable(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Character character = characterAt(text);
        const size_t length = std::max<size_t>(character.length, 1);
        if (character.length > 0 && isHarmless(character.code)) {
            result.append(text.substr(0, length));
        } else {
            for (const char byte : text.substr(0, length)) {
                result += fmt::format("\\x{:02X}", static_cast<unsigned char>(byte));
            }
        }
        text.remove_prefix(length);
    }
    return result;
}

}  // namespace kaveldesk
