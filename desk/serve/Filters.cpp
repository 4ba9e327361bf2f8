#include "desk/serve/Filters.h"

#include <fmt/core.h>

#include <stdexcept>

#include "desk/parse/AskedTime.h"
#include "desk/parse/Time.h"
#include "desk/serve/Html.h"

namespace kaveldesk {

Filter filterOf(const FilterTexts& texts, int64_t nowUtc) {
    const auto textOf = [&](const char* name) -> std::optional<std::string> {
        const auto found = texts.find(name);
        return found == texts.end() ? std::nullopt : std::optional(found->second);
    };
    const auto timeOf = [&](const char* name) -> std::optional<int64_t> {
        const auto text = textOf(name);
        if (!text) return std::nullopt;
        if (const auto time = parseAskedTime(*text, nowUtc)) return time;
        throw std::invalid_argument(fmt::format("'{}' is not a time. {}", *text, kAskedTimes));
    };
    Filter filter;
    filter.sinceUtc = timeOf("since");
    filter.untilUtc = timeOf("until");
    filter.event = textOf("event");
    filter.process = textOf("process");
    filter.build = textOf("build");
    filter.fingerprint = textOf("fingerprint");
    return filter;
}

std::string linkTo(const std::string& path, FilterTexts texts, const FilterTexts& other) {
    for (const auto& [name, text] : other) texts[name] = text;
    std::string link = path;
    char separator = '?';
    for (const auto& [name, text] : texts) {
        link += fmt::format("{}{}={}", separator, name, urlEncoded(text));
        separator = '&';
    }
    return link;
}

std::string shownTime(int64_t utc) {
    constexpr int64_t kNsPerMs = 1'000'000;
    constexpr int64_t kMost = kTimeLimitNs / kNsPerMs;
    constexpr size_t kToSeconds = 19;
    if (utc == 0 || utc < -kMost || utc > kMost) return "unknown";
    return timeText(utc * kNsPerMs, 0).substr(0, kToSeconds);
}

std::string shownDay(int64_t utc) {
    const std::string time = shownTime(utc);
    return time.substr(0, time.find(' '));
}

}  // namespace kaveldesk
