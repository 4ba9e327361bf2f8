#include "desk/parse/Text.h"

#include <algorithm>
#include <charconv>

namespace kaveldesk {

bool Lines::next(std::string_view& line) {
    if (mRest.empty()) return false;
    const size_t end = mRest.find('\n');
    line = mRest.substr(0, end);
    mRest.remove_prefix(end == std::string_view::npos ? mRest.size() : end + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    ++mNumber;
    return true;
}

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

bool endsWith(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

std::string_view trim(std::string_view text) {
    constexpr std::string_view kBlanks = " \t";
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::optional<std::string_view> after(std::string_view text, std::string_view mark) {
    const size_t at = text.find(mark);
    if (at == std::string_view::npos) return std::nullopt;
    return text.substr(at + mark.size());
}

std::string_view until(std::string_view text, std::string_view ends) {
    return text.substr(0, text.find_first_of(ends));
}

std::string_view lastPart(std::string_view text, std::string_view separators) {
    const size_t at = text.find_last_of(separators);
    return at == std::string_view::npos ? text : text.substr(at + 1);
}

std::string_view between(std::string_view text, std::string_view open, std::string_view close) {
    const auto rest = after(text, open);
    if (!rest) return {};
    const size_t end = rest->find(close);
    return end == std::string_view::npos ? std::string_view{} : rest->substr(0, end);
}

std::string_view takeWord(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    const std::string_view word = until(text, " \t");
    text.remove_prefix(word.size());
    return word;
}

template <typename Integer>
std::optional<Integer> takeInteger(std::string_view& text) {
    Integer value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc()) return std::nullopt;
    text.remove_prefix(static_cast<size_t>(end - text.data()));
    return value;
}

template std::optional<int32_t> takeInteger<int32_t>(std::string_view& text);
template std::optional<int64_t> takeInteger<int64_t>(std::string_view& text);

std::optional<double> takeDecimal(std::string_view& text) {
    auto whole = takeInteger<int32_t>(text);
    if (!whole) return std::nullopt;
    double value = *whole;
    if (text.size() < 2 || text[0] != '.' || !isDigit(text[1])) return value;
    double scale = 0.1;
    text.remove_prefix(1);
    while (!text.empty() && isDigit(text.front())) {
        value += scale * (text.front() - '0');
        scale /= 10;
        text.remove_prefix(1);
    }
    return value;
}

void shorten(std::string& text, size_t longest) {
    constexpr unsigned kContinues = 0x80;  // a byte of UTF-8 that is not the first of its character
    if (text.size() <= longest) return;
    size_t end = longest;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == kContinues) --end;
    text.replace(end, std::string::npos, "...");
}

std::optional<int32_t> numberAfter(std::string_view text, std::string_view mark) {
    auto rest = after(text, mark);
    if (!rest) return std::nullopt;
    return takeInteger<int32_t>(*rest);
}

}  // namespace kaveldesk
