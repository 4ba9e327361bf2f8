#include "dig/RawRecord.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace android {
namespace {

constexpr std::string_view kSeparator = ":";

/** Takes the next token off @p rest; returns an empty token if there is none. */
std::string_view takeToken(std::string_view* rest, std::string_view separators) {
    rest->remove_prefix(std::min(rest->find_first_not_of(separators), rest->size()));
    const std::string_view token = rest->substr(0, rest->find_first_of(separators));
    rest->remove_prefix(token.size());
    return token;
}

/**
 * Like std::stoll(), but returns nullopt instead of throwing. The number ends at the end of @p
 * token, because a separator or the text's NUL follows.
 */
std::optional<int64_t> toNumber(std::string_view token) {
    char* end = nullptr;
    errno = 0;
    const int64_t number = strtoll(token.data(), &end, 10);
    if (end == token.data() || errno == ERANGE) return std::nullopt;
    return number;
}

}  // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is part of the interface
std::vector<std::string> split(char* text, std::string separators) {
    std::vector<std::string> tokens;
    std::string_view rest = text;
    while (true) {
        const std::string_view token = takeToken(&rest, separators);
        if (token.empty()) return tokens;
        tokens.emplace_back(token);
    }
}

namespace kavel {

RawRecord parseRawRecord(const char* text) {
    std::string_view rest = text;
    const std::string_view idField = takeToken(&rest, kSeparator);
    const std::string_view name = takeToken(&rest, kSeparator);
    const std::string_view timeField = takeToken(&rest, kSeparator);
    if (timeField.empty()) return {RecordFault::TooFewFields, 0, 0, ""};
    const std::optional<int64_t> id = toNumber(idField);
    const std::optional<int64_t> time = toNumber(timeField);
    if (!id || !time) return {RecordFault::NotANumber, 0, 0, ""};
    return {RecordFault::None, *id, *time, std::string(name)};
}

}  // namespace kavel
}  // namespace android
