#include "desk/timeline/Snapshots.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "desk/parse/IncidentFiles.h"
#include "desk/parse/LogLine.h"

namespace kaveldesk {
namespace {

/** "----- pid 7761 at 2022-08-22 09:15:34.123+0200 -----", "Timestamp: 2022-...". */
std::optional<Stamp> stampOfHead(std::string_view line) {
    const size_t start = line.find_first_not_of(' ');
    if (start == std::string_view::npos) return std::nullopt;
    line.remove_prefix(start);
    constexpr std::string_view kTimestamp = "Timestamp: ";
    constexpr std::string_view kAt = " at ";
    size_t at = std::string_view::npos;
    if (line.substr(0, 10) == "----- pid ") {
        at = line.find(kAt);
        if (at != std::string_view::npos) at += kAt.size();
    } else if (line.substr(0, kTimestamp.size()) == kTimestamp) {
        at = kTimestamp.size();
    }
    if (at == std::string_view::npos) return std::nullopt;
    Scanner scanner(line.substr(at));
    std::optional<Stamp> stamp = takeStamp(scanner);
    return stamp && stamp->year >= 0 ? stamp : std::nullopt;
}

bool isDump(FileKind kind) {
    return kind == FileKind::AnrTrace || kind == FileKind::NativeBacktrace ||
           kind == FileKind::Tombstone;
}

std::vector<ReportedEvent> eventsOf(const EvidenceFile& file) {
    if (file.kind == FileKind::Events) return parseEventsFile(file.text);
    if (file.kind == FileKind::History) return parseHistory(file.text);
    return {};
}

/** Appends records for lines of one file whose time @p timeOf knows. */
template <typename TimeOf>
bool appendTimed(const EvidenceFile& file, uint32_t index, TimeOf timeOf,
                 std::vector<Record>& records) {
    const std::string_view text(file.text);
    bool isFound = false;
    uint32_t number = 0;
    for (size_t position = 0; position < text.size();) {
        const size_t begin = position;
        const std::string_view line = takeLine(text, position);
        ++number;
        const std::optional<int64_t> utcNs = timeOf(number, line);
        if (!utcNs) continue;
        Record record;
        record.utcNs = *utcNs;
        record.place = {index, number};
        record.begin = static_cast<uint32_t>(begin);
        record.length = static_cast<uint32_t>(line.size());
        record.source = file.kind;
        records.push_back(record);
        isFound = true;
    }
    return isFound;
}

void appendFile(const Evidence& evidence, uint32_t index, std::vector<Record>& records) {
    const EvidenceFile& file = evidence.files[index];
    const int32_t offset = evidence.incident.utcOffsetSeconds;
    const std::vector<ReportedEvent> events = eventsOf(file);
    if (!events.empty()) {
        auto next = events.begin();
        int64_t last = utcOf(events.front().time, offset);
        const auto timeOf = [&](uint32_t number, std::string_view line) -> std::optional<int64_t> {
            if (next != events.end() && next->line == number) last = utcOf((next++)->time, offset);
            return line.empty() ? std::nullopt : std::optional(last);
        };
        appendTimed(file, index, timeOf, records);
        return;
    }
    if (isDump(file.kind)) {
        const auto timeOf = [&](uint32_t, std::string_view line) -> std::optional<int64_t> {
            const auto stamp = stampOfHead(line);
            return stamp ? std::optional(utcOf(*stamp, offset)) : std::nullopt;
        };
        if (appendTimed(file, index, timeOf, records)) return;
    }
    if (file.collectedUtcNs == 0) return;
    bool isFirst = true;
    const auto timeOf = [&](uint32_t, std::string_view line) -> std::optional<int64_t> {
        if (line.empty() || !isFirst) return std::nullopt;
        isFirst = false;
        return file.collectedUtcNs;
    };
    appendTimed(file, index, timeOf, records);
}

}  // namespace

void appendSnapshots(const Evidence& evidence, std::vector<Record>& records) {
    for (uint32_t i = 0; i < evidence.files.size(); ++i) {
        if (!isLog(evidence.files[i].kind)) appendFile(evidence, i, records);
    }
}

}  // namespace kaveldesk
