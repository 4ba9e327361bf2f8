#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

#include <CLI/App.hpp>
#include <CLI/Validators.hpp>

#include "desk/cli/Commands.h"
#include "desk/cli/Incidents.h"
#include "desk/cli/TimelineFilter.h"
#include "desk/cli/TimelinePrinter.h"

namespace kaveldesk {
namespace {

/** The marks of all archives, spans as two entries, in time order. */
std::vector<TimelineEntry> entriesOfMarks(const std::vector<IncidentData>& incidents,
                                          const std::vector<TimelineFilter>& filters) {
    std::vector<TimelineEntry> entries;
    for (size_t i = 0; i < incidents.size(); ++i) {
        for (const Mark& mark : incidents[i].timeline.marks) {
            const auto add = [&](int64_t utcNs, bool isEnd) {
                if (filters[i].hasTime(utcNs)) {
                    entries.push_back({&incidents[i], nullptr, &mark, isEnd, utcNs});
                }
            };
            add(mark.fromNs, false);
            if (mark.toNs != mark.fromNs) add(mark.toNs, true);
        }
    }
    std::stable_sort(
            entries.begin(), entries.end(),
            [](const TimelineEntry& a, const TimelineEntry& b) { return a.utcNs < b.utcNs; });
    return entries;
}

/** Calls @p print for the entries of all archives in time order, marks ahead of lines. */
template <typename Print>
void forEachEntry(const std::vector<IncidentData>& incidents,
                  const std::vector<TimelineFilter>& filters, Print print) {
    const std::vector<TimelineEntry> marks = entriesOfMarks(incidents, filters);
    auto mark = marks.begin();
    std::vector<size_t> next(incidents.size(), 0);
    for (;;) {
        const TimelineEntry none;
        TimelineEntry first = mark != marks.end() ? *mark : none;
        size_t from = incidents.size();
        for (size_t i = 0; i < incidents.size(); ++i) {
            const std::vector<Record>& records = incidents[i].timeline.records;
            while (next[i] < records.size() &&
                   !filters[i].shows(incidents[i].evidence, records[next[i]])) {
                ++next[i];
            }
            if (next[i] == records.size()) continue;
            const Record& record = records[next[i]];
            if (first.incident != nullptr && record.utcNs >= first.utcNs) continue;
            first = {&incidents[i], &record, nullptr, false, record.utcNs};
            from = i;
        }
        if (first.incident == nullptr) return;
        print(first);
        if (from < incidents.size()) {
            ++next[from];
        } else {
            ++mark;
        }
    }
}

void runTimeline(const TimelineOptions& options) {
    const std::vector<IncidentData> incidents = readIncidents(options.paths);
    std::vector<TimelineFilter> filters;
    filters.reserve(incidents.size());
    for (const IncidentData& incident : incidents) {
        filters.emplace_back(options, incident.evidence.incident);
    }
    for (const IncidentData& incident : incidents) {
        if (options.isJson) {
            printProblemsAsJson(incident);
        } else {
            printProblems(incident);
            printNotes(incident);
        }
    }
    requireText(incidents);
    const bool withArchive = incidents.size() > 1;
    forEachEntry(incidents, filters, [&](const TimelineEntry& entry) {
        if (options.isJson) {
            printAsJson(entry);
        } else {
            printAsText(entry, withArchive);
        }
    });
}

}  // namespace

void addTimeline(CLI::App& app) {
    const auto options = std::make_shared<TimelineOptions>();
    CLI::App* command = app.add_subcommand(
            "timeline",
            "Prints the lines of all logs in time order, with the event marked.\n"
            "Each line has the UTC time, the phone's local time and the source.");
    addPaths(*command, options->paths);
    command->add_option("--around", options->around,
                        "Only what is near the event: 500ms, 10s, 2m, 1h");
    command->add_option("--from", options->from,
                        "Start: '2026-11-21 07:33:31', '07:33:31' or '2026-11-21T07:33:31Z'. "
                        "Without a zone it is the phone's local time");
    command->add_option("--to", options->to, "End, in the same forms");
    command->add_option("--source", options->sources, "Only these sources")
            ->check(CLI::IsMember(sourceNames()))
            ->delimiter(',')
            ->allow_extra_args(false);
    command->add_option("--level", options->level,
                        "Least level: V, D, I, W, E or F. Leaves out lines without a level")
            ->check(CLI::IsMember({"V", "D", "I", "W", "E", "F"}));
    command->add_option("--grep", options->grep,
                        "Only lines that this regular expression (RE2) matches");
    command->add_flag("--json", options->isJson, "One JSON object on each line");
    command->callback([options] { runTimeline(*options); });
}

}  // namespace kaveldesk
