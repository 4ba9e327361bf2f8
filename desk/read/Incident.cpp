#include "desk/read/Incident.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desk/parse/IncidentFiles.h"
#include "desk/parse/Time.h"
#include "dump/LogFolderName.h"

namespace kaveldesk {
namespace {

using android::kavel::LogName;

/** The name of the log folder: of the archive, or of the first folder in it that has one. */
std::optional<LogName> findLogName(const Evidence& evidence) {
    if (auto name = android::kavel::parseArchiveName(evidence.incident.archive)) return name;
    if (auto name = android::kavel::parseLogFolderName(evidence.incident.archive)) return name;
    for (const EvidenceFile& file : evidence.files) {
        const std::string_view path(file.name);
        for (size_t start = 0; start < path.size();) {
            const size_t end = std::min(path.find('/', start), path.size());
            if (auto name = android::kavel::parseLogFolderName(path.substr(start, end - start))) {
                return name;
            }
            start = end + 1;
        }
    }
    return std::nullopt;
}

/** The wall clock of the naming, nanoseconds since the epoch; 0 if it was not set. */
int64_t namingTime(const LogName& name) {
    uint64_t id = 0;
    std::from_chars(name.folderId.data(), name.folderId.data() + name.folderId.size(), id, 16);
    const bool isTime = id >= android::kavel::kFolderIdBase &&
                        id - android::kavel::kFolderIdBase < static_cast<uint64_t>(kTimeLimitNs);
    return isTime ? static_cast<int64_t>(id - android::kavel::kFolderIdBase) : 0;
}

/** The id has the UTC time of naming, the name the local time: zones are whole quarter hours. */
std::optional<int32_t> offsetFrom(const LogName& name) {
    const std::optional<Stamp> local = parseNameTime(name.timeText);
    if (!local || namingTime(name) == 0) return std::nullopt;
    constexpr int64_t kQuarter = 900;
    constexpr int64_t kMost = 50'400;  // 14 hours
    const int64_t apart = utcOf(*local, 0) / kNsPerSecond - namingTime(name) / kNsPerSecond;
    const int64_t rounded =
            (apart + (apart < 0 ? -kQuarter / 2 : kQuarter / 2)) / kQuarter * kQuarter;
    if (rounded < -kMost || rounded > kMost) return std::nullopt;
    return static_cast<int32_t>(rounded);
}

/** The file of @p kind that is nearest to the root: log folders inside have their own. */
const EvidenceFile* mainFile(const Evidence& evidence, FileKind kind) {
    const EvidenceFile* found = nullptr;
    ptrdiff_t foundDepth = 0;
    for (const EvidenceFile& file : evidence.files) {
        // The name decides: kinds are not known yet.
        const std::string_view base = baseName(file.name);
        const std::string_view wanted = kind == FileKind::Events    ? "kavel_events.txt"
                                        : kind == FileKind::History ? "kavel_history.txt"
                                                                    : "extraInfo.txt";
        const ptrdiff_t depth = std::count(file.name.begin(), file.name.end(), '/');
        if (base != wanted || (found != nullptr && depth >= foundDepth)) continue;
        found = &file;
        foundDepth = depth;
    }
    return found;
}

std::string_view textOfMain(const Evidence& evidence, FileKind kind) {
    const EvidenceFile* file = mainFile(evidence, kind);
    return file != nullptr ? std::string_view(file->text) : std::string_view();
}

void setFirst(std::string& value, std::string_view candidate) {
    if (value.empty()) value = candidate;
}

}  // namespace

std::vector<ReportedEvent> eventsOf(const Evidence& evidence) {
    std::vector<ReportedEvent> events = parseEventsFile(textOfMain(evidence, FileKind::Events));
    if (events.empty()) events = parseHistory(textOfMain(evidence, FileKind::History));
    return events;
}

void findIncident(Evidence& evidence) {
    Incident& incident = evidence.incident;
    const std::optional<LogName> name = findLogName(evidence);
    const std::vector<ReportedEvent> events = eventsOf(evidence);

    std::optional<int32_t> offset = name ? offsetFrom(*name) : std::nullopt;
    if (!events.empty() && events[0].utcOffsetSeconds) offset = events[0].utcOffsetSeconds;
    incident.hasUtcOffset = offset.has_value();
    incident.utcOffsetSeconds = offset.value_or(0);

    if (!events.empty()) {
        const ReportedEvent& first = events[0];
        incident.event = first.name;
        incident.eventId = first.eventId;
        incident.process = first.process;
        incident.version = first.version;
        incident.type = first.type;
        incident.pid = first.pid;
        incident.uid = first.uid;
        incident.utcNs = utcOf(first.time, incident.utcOffsetSeconds);
        for (const ReportedEvent& event : events) incident.mask |= event.mask;
    }
    const ExtraInfoTexts info = parseExtraInfo(textOfMain(evidence, FileKind::ExtraInfo));
    setFirst(incident.process, info.process);
    setFirst(incident.version, info.version);
    setFirst(incident.type, info.type);
    if (name) {
        incident.build = name->otaVersion;
        if (incident.utcNs == 0) {
            const std::optional<Stamp> local = parseNameTime(name->timeText);
            const bool isLocal = local.has_value() && incident.hasUtcOffset;
            incident.utcNs = isLocal ? utcOf(*local, incident.utcOffsetSeconds) : namingTime(*name);
        }
        // Both parts may have "_": only the history says where the event's name ends.
        const std::string start = incident.event + "_";
        if (incident.event.empty()) {
            incident.event = name->subject;
        } else if (name->subject.compare(0, start.size(), start) == 0) {
            setFirst(incident.process, std::string_view(name->subject).substr(start.size()));
        }
    }
    if (!offset) {
        evidence.problems.push_back(
                {{}, "The phone's UTC offset is not known: its local times count as UTC."});
    }
    if (incident.utcNs == 0) {
        evidence.problems.push_back(
                {{},
                 "The time of the event is not known: there is no history, and the name of the "
                 "archive does not say it."});
    }
}

}  // namespace kaveldesk
