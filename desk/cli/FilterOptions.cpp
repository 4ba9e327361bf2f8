#include "desk/cli/FilterOptions.h"

#include <fmt/core.h>

#include <charconv>
#include <string_view>

#include <CLI/Error.hpp>

#include "desk/parse/Time.h"
#include "desk/store/Rows.h"

namespace kaveldesk {
namespace {

constexpr int64_t kNsPerMs = 1'000'000;

/** "7d", "24h": so long before now. */
std::optional<int64_t> parseAgo(std::string_view text, int64_t nowUtc) {
    constexpr int64_t kMost = 100'000;
    int64_t number = 0;
    const auto [unit, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const std::string_view name(unit, static_cast<size_t>(text.data() + text.size() - unit));
    if (error != std::errc() || number < 0 || number > kMost) return std::nullopt;
    if (name == "d") return nowUtc - number * kMsPerDay;
    if (name == "h") return nowUtc - number * kMsPerHour;
    return std::nullopt;
}

/** A date, or a date and a time; UTC without a zone. */
std::optional<int64_t> parseTime(const std::string& text) {
    for (const char* const rest : {"", " 00:00:00", ":00"}) {
        const std::string whole = text + rest;
        Scanner scanner{std::string_view(whole)};
        const std::optional<Stamp> stamp = takeStamp(scanner);
        if (stamp && scanner.rest().empty() && stamp->year >= 0) return utcOf(*stamp, 0) / kNsPerMs;
    }
    return std::nullopt;
}

std::optional<int64_t> timeOf(const char* option, const std::string& text, int64_t nowUtc) {
    if (text.empty()) return std::nullopt;
    if (const auto ago = parseAgo(text, nowUtc)) return ago;
    if (const auto time = parseTime(text)) return time;
    throw CLI::ValidationError(option,
                               fmt::format("'{}' is not a time such as 2026-11-21, '2026-11-21 "
                                           "07:33', 2026-11-21T07:33:31+01:00, 24h or 7d",
                                           text));
}

}  // namespace

void addPlaceOption(CLI::App& command, std::string& db) {
    command.add_option("--db", db,
                       "The index. Without it: kaveldesk/index.db in $XDG_DATA_HOME or "
                       "~/.local/share")
            ->type_name("FILE");
}

void addFilterOptions(CLI::App& command, FilterOptions& options, bool withBuild) {
    addPlaceOption(command, options.db);
    command.add_option("--since", options.since,
                       "Only catches from this time on: 2026-11-21, '2026-11-21 07:33', UTC "
                       "without a zone, or 24h or 7d ago")
            ->type_name("TIME");
    command.add_option("--until", options.until, "Only catches before this time, in the same forms")
            ->type_name("TIME");
    command.add_option("--event", options.event, "Only of this event type, by its name");
    command.add_option("--process", options.process, "Only of this process");
    if (withBuild) command.add_option("--build", options.build, "Only of this build");
}

Filter filterOf(const FilterOptions& options, int64_t nowUtc) {
    Filter filter;
    filter.sinceUtc = timeOf("--since", options.since, nowUtc);
    filter.untilUtc = timeOf("--until", options.until, nowUtc);
    if (filter.sinceUtc && filter.untilUtc && *filter.sinceUtc >= *filter.untilUtc) {
        throw CLI::ValidationError("--since", "The start is not before the end (--until).");
    }
    filter.event = options.event;
    filter.process = options.process;
    filter.build = options.build;
    return filter;
}

}  // namespace kaveldesk
