#include <fmt/core.h>

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "desk/parse/IncidentFiles.h"
#include "desk/timeline/Snapshots.h"

namespace kaveldesk {
namespace {

std::string_view folderOf(std::string_view name) {
    const size_t slash = name.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : name.substr(0, slash);
}

std::string labelOf(const ReportedEvent& event) {
    std::string label = "event";
    if (!event.name.empty()) label += " " + event.name;
    if (!event.process.empty()) label += " of " + event.process;
    return label;
}

/** The marks of one log folder. */
struct FolderMarks {
    std::vector<Mark> events;    // by the events file, or else by the history
    std::map<int, Mark> rounds;  // from the first command of the round to the last
    int64_t lastRoundNs = 0;     // start of the last round of the streaming logs
    bool hasEventsFile = false;
    int lastRound = 0;
};

void addEvents(const Evidence& evidence, const EvidenceFile& file, FolderMarks& marks) {
    if (file.kind == FileKind::History && marks.hasEventsFile) return;
    const std::vector<ReportedEvent> events =
            file.kind == FileKind::Events ? parseEventsFile(file.text) : parseHistory(file.text);
    if (events.empty()) return;
    marks.hasEventsFile = file.kind == FileKind::Events;
    marks.events.clear();
    for (const ReportedEvent& event : events) {
        const int64_t utcNs = utcOf(event.time, evidence.incident.utcOffsetSeconds);
        marks.events.push_back({utcNs, utcNs, labelOf(event)});
    }
}

void addRound(const EvidenceFile& file, FolderMarks& marks) {
    const int64_t utcNs = file.collectedUtcNs;
    const auto [place, isNew] = marks.rounds.emplace(
            file.round, Mark{utcNs, utcNs, fmt::format("round {}", file.round)});
    place->second.fromNs = std::min(place->second.fromNs, utcNs);
    place->second.toNs = std::max(place->second.toNs, utcNs);
    if (!isLog(file.kind) || file.round < marks.lastRound) return;
    marks.lastRoundNs = file.round > marks.lastRound ? utcNs : std::min(marks.lastRoundNs, utcNs);
    marks.lastRound = file.round;
}

}  // namespace

std::vector<Mark> findMarks(const Evidence& evidence) {
    std::map<std::string_view, FolderMarks> folders;
    for (const EvidenceFile& file : evidence.files) {
        if (file.kind == FileKind::Events || file.kind == FileKind::History) {
            addEvents(evidence, file, folders[folderOf(file.name)]);
        } else if (file.round > 0) {
            addRound(file, folders[folderOf(file.name)]);
        }
    }
    std::vector<Mark> marks;
    for (auto& [folder, found] : folders) {
        const size_t first = marks.size();
        marks.insert(marks.end(), found.events.begin(), found.events.end());
        for (const auto& [number, round] : found.rounds) marks.push_back(round);
        if (!found.events.empty() && found.lastRound > 1) {
            marks.push_back({found.events.front().fromNs, found.lastRoundNs, "window"});
        }
        if (folders.size() == 1) continue;
        for (size_t i = first; i < marks.size(); ++i) {
            marks[i].label += fmt::format(" ({})", baseName(folder));
        }
    }
    const Incident& incident = evidence.incident;
    const bool hasEvent = std::any_of(folders.begin(), folders.end(), [](const auto& folder) {
        return !folder.second.events.empty();
    });
    if (!hasEvent && incident.utcNs != 0) {
        marks.push_back({incident.utcNs, incident.utcNs, "event " + incident.event});
    }
    std::stable_sort(marks.begin(), marks.end(),
                     [](const Mark& a, const Mark& b) { return a.fromNs < b.fromNs; });
    return marks;
}

}  // namespace kaveldesk
