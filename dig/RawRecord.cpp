#include "dig/RawRecord.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <utility>

namespace android {
namespace {

constexpr const char* kSeparator = ":";
constexpr size_t kMinFields = 3;

/** As std::stoll() reads it, with no value in place of its exceptions. */
std::optional<int64_t> toNumber(const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const int64_t number = strtoll(text.c_str(), &end, 10);
    if (end == text.c_str() || errno == ERANGE) return std::nullopt;
    return number;
}

}  // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): callers know it by this signature
std::vector<std::string> split(char* text, std::string separators) {
    std::vector<std::string> tokens;
    tokens.reserve(kMinFields);
    const char* const ends = separators.c_str();
    for (char* token = text + strspn(text, ends); *token != '\0'; token += strspn(token, ends)) {
        const size_t length = strcspn(token, ends);
        tokens.emplace_back(token, length);
        token += length;
    }
    return tokens;
}

namespace kavel {

RawRecord parseRawRecord(char* text) {
    std::vector<std::string> fields = split(text, kSeparator);
    if (fields.size() < kMinFields) return {RecordFault::TooFewFields, 0, 0, ""};
    const std::optional<int64_t> id = toNumber(fields[0]);
    const std::optional<int64_t> time = toNumber(fields[2]);
    if (!id || !time) return {RecordFault::NotANumber, 0, 0, ""};
    return {RecordFault::None, *id, *time, std::move(fields[1])};
}

}  // namespace kavel
}  // namespace android
