#include "desk/parse/FrameText.h"

#include "desk/parse/Text.h"

namespace kaveldesk {
namespace {

constexpr std::string_view kNative = "native: ";

/** Start of the last "(...)" at the end of @p text, brackets paired; npos if there is none. */
size_t lastGroup(std::string_view text) {
    if (text.empty() || text.back() != ')') return std::string_view::npos;
    int depth = 0;
    for (size_t i = text.size(); i > 0; --i) {
        if (text[i - 1] == ')') ++depth;
        if (text[i - 1] == '(' && --depth == 0) return i - 1;
    }
    return std::string_view::npos;
}

/** Takes "(NAME...)" off the end of @p text; empty if the last group is another one. */
std::string_view takeGroup(std::string_view& text, std::string_view name) {
    const size_t at = lastGroup(text);
    if (at == std::string_view::npos || !startsWith(text.substr(at + 1), name)) return {};
    const std::string_view group = text.substr(at + 1, text.size() - at - 2);
    text = trim(text.substr(0, at));
    return group;
}

/** The symbol without what the compiler adds in brackets: "(foo(int) (.cfi)+4)". */
std::string_view withoutSuffixes(std::string_view symbol) {
    for (size_t at = lastGroup(symbol); at != std::string_view::npos; at = lastGroup(symbol)) {
        if (at == 0 || !startsWith(symbol.substr(at), "(.")) break;
        symbol = trim(symbol.substr(0, at));
    }
    return symbol;
}

std::string_view withoutOffset(std::string_view symbol) {
    const size_t plus = symbol.rfind('+');
    if (plus == std::string_view::npos || plus + 1 == symbol.size()) return symbol;
    const std::string_view offset = symbol.substr(plus + 1);
    const bool isNumber = offset.find_first_not_of("0123456789") == std::string_view::npos;
    return isNumber ? symbol.substr(0, plus) : symbol;
}

Frame nativeFrame(std::string_view text) {
    Frame frame;
    frame.isNative = true;
    text = after(text, "pc").value_or(text);
    takeWord(text);  // the address
    text = trim(text);
    takeGroup(text, "BuildId");
    const bool hasSymbol = lastGroup(text) != std::string_view::npos &&
                           !endsWith(text, "(deleted)") &&
                           !startsWith(text.substr(lastGroup(text)), "(offset ");
    if (hasSymbol) frame.symbol = withoutSuffixes(withoutOffset(takeGroup(text, "")));
    takeGroup(text, "offset ");
    frame.module = text;
    return frame;
}

}  // namespace

bool isNativeFrame(std::string_view text) {
    text = trim(text);
    if (startsWith(text, kNative)) text = trim(text.substr(kNative.size()));
    if (!startsWith(text, "#")) return false;
    takeWord(text);
    return takeWord(text) == "pc";
}

std::optional<Frame> parseFrame(std::string_view text, uint32_t line) {
    text = trim(text);
    Frame frame;
    if (startsWith(text, "at ")) {
        text = trim(text.substr(3));
        frame.symbol = until(text, "(");
    } else if (isNativeFrame(text)) {
        frame = nativeFrame(text);
    } else {
        return std::nullopt;
    }
    if (startsWith(text, kNative)) text.remove_prefix(kNative.size());
    frame.text = text;
    frame.line = line;
    return frame;
}

}  // namespace kaveldesk
