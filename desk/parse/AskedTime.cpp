#include "desk/parse/AskedTime.h"

#include <charconv>
#include <string_view>

#include "desk/parse/Time.h"

namespace kaveldesk {
namespace {

constexpr int64_t kNsPerMs = 1'000'000;
constexpr int64_t kMsPerHour = 3'600'000;

/** "7d", "24h": so long before now. */
std::optional<int64_t> parseAgo(std::string_view text, int64_t nowUtc) {
    constexpr int64_t kMost = 100'000;
    int64_t number = 0;
    const auto [unit, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const std::string_view name(unit, static_cast<size_t>(text.data() + text.size() - unit));
    if (error != std::errc() || number < 0 || number > kMost) return std::nullopt;
    if (name == "d") return nowUtc - number * 24 * kMsPerHour;
    if (name == "h") return nowUtc - number * kMsPerHour;
    return std::nullopt;
}

}  // namespace

std::optional<int64_t> parseAskedTime(const std::string& text, int64_t nowUtc) {
    if (const auto ago = parseAgo(text, nowUtc)) return ago;
    for (const char* const rest : {"", " 00:00:00", ":00"}) {
        const std::string whole = text + rest;
        Scanner scanner{std::string_view(whole)};
        const std::optional<Stamp> stamp = takeStamp(scanner);
        if (stamp && scanner.rest().empty() && stamp->year >= 0) return utcOf(*stamp, 0) / kNsPerMs;
    }
    return std::nullopt;
}

}  // namespace kaveldesk
