#include "desk/cli/TimelineFilter.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <stdexcept>
#include <string_view>

#include <CLI/Error.hpp>

#include "desk/parse/Time.h"

namespace kaveldesk {
namespace {

constexpr int kLastKind = static_cast<int>(FileKind::Dumpsys);

/** "10s", "500ms", "2m", "1h". */
int64_t parseDuration(const std::string& text) {
    int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [unit, error] = std::from_chars(text.data(), end, number);
    const std::string_view name(unit, static_cast<size_t>(end - unit));
    constexpr struct {
        std::string_view name;
        int64_t ns;
    } kUnits[] = {{"ms", kNsPerSecond / 1000},
                  {"s", kNsPerSecond},
                  {"m", 60 * kNsPerSecond},
                  {"h", 3600 * kNsPerSecond}};
    constexpr int64_t kMost = 1'000'000;  // of a unit: no overflow
    for (const auto& row : kUnits) {
        if (error == std::errc() && number >= 0 && number <= kMost && name == row.name) {
            return number * row.ns;
        }
    }
    throw CLI::ValidationError("--around", fmt::format("'{}' is not a time span such as 500ms, "
                                                       "10s, 2m or 1h",
                                                       text));
}

/** Date and time, a time of day of the event's day, or a time as in names of files. */
int64_t parseTime(const char* option, const std::string& text, const Incident& incident) {
    std::optional<Stamp> stamp = parseNameTime(text);
    Scanner scanner{std::string_view(text)};
    if (!stamp) {
        stamp = takeStamp(scanner);
        if (!scanner.rest().empty()) stamp.reset();
    }
    if (!stamp) {
        const std::string day = timeText(incident.utcNs, incident.utcOffsetSeconds).substr(0, 11);
        const std::string whole = day + text;
        Scanner withDay{std::string_view(whole)};
        stamp = takeStamp(withDay);
        if (stamp && !withDay.rest().empty()) stamp.reset();
        if (stamp && incident.utcNs == 0) {
            throw std::runtime_error(fmt::format(
                    "The day of the event is not known: {} needs a date and a time.", option));
        }
    }
    if (!stamp || stamp->year < 0) {
        throw CLI::ValidationError(option,
                                   fmt::format("'{}' is not a time such as '2026-11-21 07:33:31', "
                                               "'07:33:31.5' or '2026-11-21T07:33:31Z'",
                                               text));
    }
    return utcOf(*stamp, incident.utcOffsetSeconds);
}

Level parseLevel(const std::string& text) {
    constexpr std::string_view kLetters = "VDIWEF";
    const size_t index = kLetters.find(text.empty() ? ' ' : text[0]);
    return index == std::string_view::npos ? Level::Unknown : static_cast<Level>(index + 1);
}

}  // namespace

TimelineFilter::TimelineFilter(const TimelineOptions& options, const Incident& incident)
      : mFromNs(std::numeric_limits<int64_t>::min()),
        mToNs(std::numeric_limits<int64_t>::max()),
        mLevel(parseLevel(options.level)) {
    if (!options.around.empty()) {
        const int64_t span = parseDuration(options.around);
        if (incident.utcNs == 0) {
            throw std::runtime_error(
                    "The time of the event is not known: use --from and --to instead of --around.");
        }
        mFromNs = incident.utcNs - span;
        mToNs = incident.utcNs + span;
    }
    if (!options.from.empty()) mFromNs = parseTime("--from", options.from, incident);
    if (!options.to.empty()) mToNs = parseTime("--to", options.to, incident);
    if (mFromNs > mToNs) throw CLI::ValidationError("--from", "The start is after the end (--to).");
    for (int kind = 0; kind <= kLastKind; ++kind) {
        const std::string_view name = kindName(static_cast<FileKind>(kind));
        if (std::find(options.sources.begin(), options.sources.end(), name) !=
            options.sources.end()) {
            mSources.push_back(static_cast<FileKind>(kind));
        }
    }
    if (options.grep.empty()) return;
    mPattern = std::make_unique<const RE2>(options.grep, RE2::Quiet);
    if (!mPattern->ok()) {
        throw CLI::ValidationError("--grep",
                                   fmt::format("'{}': {}", options.grep, mPattern->error()));
    }
}

bool TimelineFilter::shows(const Evidence& evidence, const Record& record) const {
    if (!hasTime(record.utcNs) || record.level < mLevel) return false;
    if (!mSources.empty() &&
        std::find(mSources.begin(), mSources.end(), record.source) == mSources.end()) {
        return false;
    }
    if (!mPattern) return true;
    const std::string_view text = textOf(evidence, record);
    return RE2::PartialMatch(re2::StringPiece(text.data(), text.size()), *mPattern);
}

std::vector<std::string> sourceNames() {
    std::vector<std::string> names;
    for (int kind = 1; kind <= kLastKind; ++kind) {
        names.emplace_back(kindName(static_cast<FileKind>(kind)));
    }
    return names;
}

}  // namespace kaveldesk
