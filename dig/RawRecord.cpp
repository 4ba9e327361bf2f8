#include "dig/RawRecord.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace android::kavel {
namespace {

constexpr char kSeparator = ':';

/** Takes the next field off @p rest; returns an empty field if there is none. */
std::string_view takeField(std::string_view* rest) {
    rest->remove_prefix(std::min(rest->find_first_not_of(kSeparator), rest->size()));
    const std::string_view field = rest->substr(0, rest->find(kSeparator));
    rest->remove_prefix(field.size());
    return field;
}

/**
 * Like std::stoll(), but returns nullopt instead of throwing. The number ends at the end of @p
 * field, because a separator or the text's NUL follows.
 */
std::optional<int64_t> toNumber(std::string_view field) {
    char* end = nullptr;
    errno = 0;
    const int64_t number = strtoll(field.data(), &end, 10);
    if (end == field.data() || errno == ERANGE) return std::nullopt;
    return number;
}

}  // namespace

RawRecord parseRawRecord(const char* text) {
    std::string_view rest = text;
    const std::string_view idField = takeField(&rest);
    const std::string_view name = takeField(&rest);
    const std::string_view timeField = takeField(&rest);
    if (timeField.empty()) return {RecordFault::TooFewFields, 0, 0, ""};
    const std::optional<int64_t> id = toNumber(idField);
    const std::optional<int64_t> time = toNumber(timeField);
    if (!id || !time) return {RecordFault::NotANumber, 0, 0, ""};
    return {RecordFault::None, *id, *time, std::string(name)};
}

}  // namespace android::kavel
