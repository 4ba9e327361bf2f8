#include "platform/OneLine.h"

namespace android::kavel {

std::string oneLine(std::string_view text) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string line;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte != 0x7f) {
            line.push_back(c);
        } else {
            line.append("\\x").append({kDigits[byte >> 4], kDigits[byte & 0xf]});
        }
    }
    return line;
}

}  // namespace android::kavel
