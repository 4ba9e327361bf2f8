#pragma once

#include <string>
#include <string_view>

namespace android::kavel {

/** Returns @p text for a man page: no character of it has a meaning for roff. */
inline std::string roffText(std::string_view text) {
    std::string result;
    bool isLineStart = true;
    for (const char c : text) {
        if (isLineStart && (c == '.' || c == '\'')) result += "\\&";
        if (c == '\\') {
            result += "\\e";
        } else if (c == '-') {
            result += "\\-";
        } else {
            result += c;
        }
        isLineStart = c == '\n';
    }
    return result;
}

}  // namespace android::kavel
