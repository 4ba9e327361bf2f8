#include "platform/Utf8.h"

#include <android-base/stringprintf.h>

namespace android::kavel {

CodePoint decodeUtf8(std::string_view text) {
    const auto byte = [&](size_t i) { return uint32_t{static_cast<unsigned char>(text[i])}; };
    const uint32_t lead = byte(0);
    if (lead < 0x80) return {lead, 1};
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return {0, 0};
    uint32_t value = lead & (0xFFU >> (length + 1));
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return {0, 0};
        value = (value << 6) | (byte(i) & 0x3F);
    }
    const bool overlong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
    if (overlong || surrogate || value > 0x10FFFF) return {0, 0};
    return {value, length};
}

std::string jsonString(std::string_view text) {
    std::string json = "\"";
    while (!text.empty()) {
        const CodePoint front = decodeUtf8(text);
        if (front.length == 0) {
            json += "\\ufffd";
        } else if (front.value == '"' || front.value == '\\') {
            json.append(1, '\\').append(1, text[0]);
        } else if (front.value < 0x20 || front.value == 0x7F) {
            json += base::StringPrintf("\\u%04x", front.value);
        } else {
            json += text.substr(0, front.length);
        }
        text.remove_prefix(front.length == 0 ? 1 : front.length);
    }
    return json + "\"";
}

}  // namespace android::kavel
