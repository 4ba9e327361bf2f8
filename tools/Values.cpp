#include "tools/Values.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "dump/LogCommands.h"
#include "event/EventTypes.h"
#include "tools/CommandLine.h"
#include "tools/Suggestion.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

constexpr std::string_view kBitPrefix = "KAVEL_LOGINFO_";
constexpr std::string_view kEventPrefix = "KAVEL_EVENT_";

char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

std::string_view trim(std::string_view text) {
    const size_t begin = text.find_first_not_of(' ');
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

/** Returns @p word in upper case, without @p prefix. */
std::string bareName(std::string_view word, std::string_view prefix) {
    std::string name(word);
    std::transform(name.begin(), name.end(), name.begin(), upper);
    if (name.rfind(prefix, 0) == 0) name.erase(0, prefix.size());
    return name;
}

int64_t maskWord(std::string_view word) {
    if (const auto number = parseInteger(word)) return *number;
    const std::string name = bareName(word, kBitPrefix);
    for (const LogBit& known : kLogBits) {
        if (known.name == name) return known.bit;
    }
    std::vector<std::string> names;
    names.reserve(kLogBits.size());
    for (const LogBit& known : kLogBits) names.emplace_back(known.name);
    throw UsageError("'" + printable(word) + "' is neither a number nor a log bit" +
                     didYouMean(name, names) + "; 'kavelctl explain 0x7fffffff' names them all");
}

const LogBit* findLogBit(uint32_t bit) {
    const auto found = std::find_if(kLogBits.begin(), kLogBits.end(),
                                    [&](const LogBit& known) { return known.bit == bit; });
    return found == kLogBits.end() ? nullptr : found;
}

}  // namespace

std::optional<int64_t> parseInteger(std::string_view text) {
    const bool negative = !text.empty() && text[0] == '-';
    if (negative) text.remove_prefix(1);
    int base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        text.remove_prefix(2);
    }
    uint64_t magnitude = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, magnitude, base);
    if (error != std::errc() || stop != end) return std::nullopt;

    constexpr uint64_t kMax = std::numeric_limits<int64_t>::max();
    if (!negative) {
        if (magnitude > kMax) return std::nullopt;
        return static_cast<int64_t>(magnitude);
    }
    if (magnitude > kMax + 1) return std::nullopt;
    if (magnitude == kMax + 1) return std::numeric_limits<int64_t>::min();
    return -static_cast<int64_t>(magnitude);
}

int64_t integerInRange(std::string_view what, std::string_view text, int64_t min, int64_t max) {
    const auto number = parseInteger(text);
    if (number && *number >= min && *number <= max) return *number;
    throw UsageError(std::string(what) + " takes an integer from " + std::to_string(min) + " to " +
                     std::to_string(max) + ", decimal or 0x, not '" + printable(text) + "'");
}

std::optional<int64_t> findEventId(std::string_view text) {
    if (const auto number = parseInteger(text)) return number;
    const std::string name = bareName(text, kEventPrefix);
    for (const EventType& type : kEventTypes) {
        if (!name.empty() && type.name == name) return type.ids.first;
    }
    return std::nullopt;
}

int64_t parseEventId(std::string_view text) {
    if (const auto id = findEventId(text)) return *id;
    std::vector<std::string> names;
    for (const EventType& type : kEventTypes) {
        if (!type.name.empty()) names.emplace_back(type.name);
    }
    throw UsageError("'" + printable(text) +
                     "' is neither a 64-bit integer nor the name of an event type" +
                     didYouMean(bareName(text, kEventPrefix), names) +
                     "; 'kavelctl explain --event' lists them");
}

int64_t parseMask(std::string_view text) {
    int64_t mask = 0;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find_first_of(",|", begin), text.size());
        mask |= maskWord(trim(text.substr(begin, end - begin)));
        begin = end + 1;
    }
    return mask;
}

int32_t parseReportMask(std::string_view text) {
    const int64_t mask = parseMask(text);
    if (mask < std::numeric_limits<int32_t>::min() || mask > std::numeric_limits<int32_t>::max()) {
        throw UsageError("log-info '" + printable(text) +
                         "' does not fit a signed 32-bit number: the daemon would abort on it, "
                         "so it is not sent");
    }
    return static_cast<int32_t>(mask);
}

uint32_t parseExplainMask(std::string_view text) {
    const int64_t mask = parseMask(text);
    if (mask < std::numeric_limits<int32_t>::min() || mask > std::numeric_limits<uint32_t>::max()) {
        throw UsageError("MASK has more than 32 bits: '" + printable(text) + "'");
    }
    return static_cast<uint32_t>(mask & 0xFFFFFFFF);
}

std::string_view logBitName(uint32_t bit) {
    const LogBit* known = findLogBit(bit);
    return known == nullptr ? "unknown" : known->name;
}

bool isLogBit(uint32_t bit) {
    return findLogBit(bit) != nullptr;
}

std::string logBitNames(uint32_t mask) {
    std::string names;
    for (uint32_t bit = 1; bit != 0; bit <<= 1) {
        if ((mask & bit) == 0) continue;
        if (!names.empty()) names += ", ";
        names += logBitName(bit);
    }
    return names.empty() ? "none" : names;
}

}  // namespace android::kavel::tools
