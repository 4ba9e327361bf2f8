#include "desk/cli/FilterOptions.h"

#include <fmt/core.h>

#include <filesystem>

#include <CLI/Error.hpp>

#include "desk/parse/AskedTime.h"

namespace kaveldesk {
namespace {

std::optional<int64_t> timeOf(const char* option, const std::string& text, int64_t nowUtc) {
    if (text.empty()) return std::nullopt;
    if (const auto time = parseAskedTime(text, nowUtc)) return time;
    throw CLI::ValidationError(option, fmt::format("'{}' is not a time. {}", text, kAskedTimes));
}

}  // namespace

void addPlaceOption(CLI::App& command, std::string& db) {
    command.add_option("--db", db,
                       "The index: a file, or clickhouse://HOST:PORT/DATABASE. Without it: "
                       "kaveldesk/index.db in $XDG_DATA_HOME or ~/.local/share")
            ->type_name("PLACE");
}

std::string placeOf(const std::string& db, Access access) {
    if (!db.empty()) return db;
    std::string place = defaultPlace();
    if (access == Access::Write) {
        std::filesystem::create_directories(std::filesystem::path(place).parent_path());
    }
    return place;
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
