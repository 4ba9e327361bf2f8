#include "platform/TerminalText.h"

#include <android-base/stringprintf.h>

#include "platform/Utf8.h"

namespace android::kavel {
namespace {

struct Range {
    uint32_t first;
    uint32_t last;
    size_t width;
};

// Unicode 15: EastAsianWidth.txt (W and F) and the common blocks of DerivedGeneralCategory.txt (Mn,
// Me, Cf), where neighbouring ranges are joined. All other characters have one column.
constexpr Range kWidths[] = {
        {0x0300, 0x036F, 0},   {0x0483, 0x0489, 0},   {0x0591, 0x05BD, 0},   {0x0610, 0x061A, 0},
        {0x064B, 0x065F, 0},   {0x0E34, 0x0E3A, 0},   {0x0E47, 0x0E4E, 0},   {0x1100, 0x115F, 2},
        {0x200B, 0x200F, 0},   {0x202A, 0x202E, 0},   {0x2060, 0x2064, 0},   {0x20D0, 0x20F0, 0},
        {0x2E80, 0x303E, 2},   {0x3041, 0x3098, 2},   {0x3099, 0x309A, 0},   {0x309B, 0x4DBF, 2},
        {0x4E00, 0xA4CF, 2},   {0xA960, 0xA97F, 2},   {0xAC00, 0xD7A3, 2},   {0xF900, 0xFAFF, 2},
        {0xFE00, 0xFE0F, 0},   {0xFE20, 0xFE2F, 0},   {0xFE30, 0xFE6F, 2},   {0xFEFF, 0xFEFF, 0},
        {0xFF00, 0xFF60, 2},   {0xFFE0, 0xFFE6, 2},   {0x1F300, 0x1F64F, 2}, {0x1F680, 0x1F6FF, 2},
        {0x1F900, 0x1FAFF, 2}, {0x20000, 0x3FFFD, 2}, {0xE0100, 0xE01EF, 0},
};

size_t widthOf(uint32_t character) {
    for (const Range& range : kWidths) {
        if (character <= range.last) return character >= range.first ? range.width : 1;
    }
    return 1;
}

}  // namespace

bool isTerminalControl(uint32_t character) {
    return character < 0x20 || (character >= 0x7F && character <= 0x9F) || character == 0x061C ||
           character == 0x200E || character == 0x200F ||
           (character >= 0x2028 && character <= 0x202E) ||
           (character >= 0x2066 && character <= 0x2069);
}

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const CodePoint front = decodeUtf8(text);
        const size_t length = front.length == 0 ? 1 : front.length;
        if (front.length == 0 || isTerminalControl(front.value)) {
            for (const char c : text.substr(0, length)) {
                result += base::StringPrintf("\\x%02x", unsigned{static_cast<unsigned char>(c)});
            }
        } else {
            result += text.substr(0, length);
        }
        text.remove_prefix(length);
    }
    return result;
}

size_t displayWidth(std::string_view text) {
    size_t width = 0;
    while (!text.empty()) {
        const CodePoint front = decodeUtf8(text);
        width += front.length == 0 ? 1 : widthOf(front.value);
        text.remove_prefix(front.length == 0 ? 1 : front.length);
    }
    return width;
}

std::string padded(const std::string& text, size_t width, Align align) {
    const size_t used = displayWidth(text);
    const std::string blanks(used < width ? width - used : 0, ' ');
    return align == Align::Right ? blanks + text : text + blanks;
}

}  // namespace android::kavel
