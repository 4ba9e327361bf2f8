#include "platform/ShellQuote.h"

namespace android::kavel {
namespace {

// Characters that have no special meaning inside a word, in mksh and in dash. Bytes above 0x7f are
// part of UTF-8 text. '#' and '!' are special only at the start of a word, '~' also after '=' and
// ':', because mksh expands it there in any word. '{', '[' and '*' are not included because of
// brace and file-name expansion.
bool isLiteral(char c, char before) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x80) return true;
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
    if (c == '#' || c == '!') return before != '\0';
    if (c == '~') return before != '\0' && before != '=' && before != ':';
    return std::string_view("_./:@%+,=-^").find(c) != std::string_view::npos;
}

bool isLiteralWord(std::string_view value) {
    char before = '\0';
    for (const char c : value) {
        if (!isLiteral(c, before)) return false;
        before = c;
    }
    return true;
}

std::string singleQuote(std::string_view value) {
    std::string quoted = "'";
    for (const char c : value) {
        if (c == '\'') {
            quoted += "'\\''";
        } else {
            quoted.push_back(c);
        }
    }
    return quoted += "'";
}

std::string doubleBackslashes(std::string_view value) {
    std::string doubled;
    for (const char c : value) {
        if (c == '\\') doubled.push_back('\\');
        doubled.push_back(c);
    }
    return doubled;
}

}  // namespace

std::string shellQuote(std::string_view value) {
    return isLiteralWord(value) ? std::string(value) : singleQuote(value);
}

std::string shellQuoteForEcho(std::string_view value) {
    return shellQuote(doubleBackslashes(value));
}

std::string singleQuoteForEcho(std::string_view value) {
    std::string text = doubleBackslashes(value);
    // mksh takes "-n" and "-e" as options, even quoted, and dash takes "-n". Both shells turn this
    // sequence back into "-".
    if (!text.empty() && text.front() == '-') text.replace(0, 1, "\\0055");
    return singleQuote(text);
}

}  // namespace android::kavel
