#include "tools/Quantities.h"

#include <charconv>
#include <ctime>
#include <optional>
#include <string>

#include "tools/CommandLine.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

struct Unit {
    char letter;
    int64_t factor;
};

constexpr Unit kDurations[] = {{'s', 1}, {'m', 60}, {'h', 3600}, {'d', 86400}, {'w', 604800}};
constexpr int64_t kMaxSeconds = int64_t{50} * 366 * 86400;
constexpr Unit kSizes[] = {{'K', 1LL << 10}, {'M', 1LL << 20}, {'G', 1LL << 30}, {'T', 1LL << 40}};

[[noreturn]] void refuse(std::string_view what, std::string_view text, std::string_view wanted) {
    throw UsageError(std::string(what)
                             .append(" takes ")
                             .append(wanted)
                             .append(", not '")
                             .append(printable(text))
                             .append("'"));
}

/** Parses digits and one of @p units. Returns nullopt for any other text or a number too large. */
template <size_t count>
std::optional<int64_t> parseWithUnit(std::string_view text, const Unit (&units)[count],
                                     int64_t max) {
    if (text.empty() || text[0] == '-') return {};
    int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, 10);
    if (error != std::errc() || end - stop > 1) return {};
    int64_t factor = stop == end ? 1 : 0;
    for (const Unit& unit : units) {
        if (stop != end && *stop == unit.letter) factor = unit.factor;
    }
    if (factor == 0 || number > max / factor) return {};
    return number * factor;
}

std::optional<int64_t> parseAge(std::string_view text) {
    const bool hasUnit = !text.empty() && text.back() >= 'a';
    return hasUnit ? parseWithUnit(text, kDurations, kMaxSeconds) : std::nullopt;
}

/** Parses Z, +HH:MM or -HH:MM. */
std::optional<int64_t> parseOffset(const char* text) {
    if (std::string_view(text) == "Z") return 0;
    std::tm offset{};
    const char* const rest = *text == '\0' ? nullptr : strptime(text + 1, "%H:%M", &offset);
    if ((*text != '+' && *text != '-') || rest == nullptr || *rest != '\0') return {};
    const int64_t seconds = int64_t{offset.tm_hour} * 3600 + int64_t{offset.tm_min} * 60;
    return *text == '-' ? -seconds : seconds;
}

std::optional<int64_t> parseCalendarTime(const std::string& text) {
    std::tm time{};
    const char* rest = strptime(text.c_str(), "%Y-%m-%d", &time);
    if (rest == nullptr) return {};
    if (*rest == 'T' || *rest == ' ') {
        rest = strptime(rest + 1, "%H:%M", &time);
        if (rest != nullptr && *rest == ':') rest = strptime(rest + 1, "%S", &time);
        if (rest == nullptr) return {};
    }
    const int day = time.tm_mday;
    int64_t seconds = 0;
    if (*rest == '\0') {
        time.tm_isdst = -1;
        seconds = mktime(&time);
    } else {
        const auto offset = parseOffset(rest);
        if (!offset) return {};
        seconds = timegm(&time) - *offset;
    }
    if (time.tm_mday != day) return {};  // the month is shorter
    return seconds;
}

}  // namespace

std::chrono::seconds parseDuration(std::string_view what, std::string_view text) {
    if (const auto seconds = parseAge(text)) return std::chrono::seconds(*seconds);
    refuse(what, text, "a number with a unit (s, m, h, d, w), such as 30m");
}

uint64_t parseSize(std::string_view what, std::string_view text) {
    if (const auto size = parseWithUnit(text, kSizes, INT64_MAX)) {
        return static_cast<uint64_t>(*size);
    }
    refuse(what, text, "a number of bytes, or one with a unit (K, M, G, T), such as 500M");
}

int64_t parseTime(std::string_view what, std::string_view text, int64_t nowMs) {
    if (const auto age = parseAge(text)) return nowMs - *age * 1000;
    if (const auto seconds = parseCalendarTime(std::string(text))) return *seconds * 1000;
    refuse(what, text, "an age such as 2h, or YYYY-MM-DD with optional time and offset");
}

int64_t wallClockMs() {
    using std::chrono::milliseconds;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<milliseconds>(now).count();
}

}  // namespace android::kavel::tools
