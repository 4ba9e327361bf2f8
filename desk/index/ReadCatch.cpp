#include "desk/index/ReadCatch.h"

#include <algorithm>
#include <exception>
#include <string_view>

#include "desk/cause/FindCause.h"
#include "desk/parse/Time.h"
#include "desk/read/Incident.h"
#include "desk/read/Read.h"
#include "desk/timeline/BuildTimeline.h"

namespace kaveldesk {
namespace {

constexpr size_t kMostText = 1000;  // bytes
constexpr size_t kMostRows = 1000;  // of each child table
constexpr int64_t kNsPerMs = 1'000'000;

/** @p text up to kMostText bytes, whole characters of UTF-8. */
std::string cut(std::string_view text) {
    if (text.size() <= kMostText) return std::string(text);
    size_t end = kMostText;
    const auto isInside = [&] { return (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80U; };
    for (int i = 0; i < 3 && isInside(); ++i) --end;
    return std::string(text.substr(0, end));
}

int64_t msOf(int64_t ns) {
    const int64_t rest = ns % kNsPerMs;
    return (ns - (rest < 0 ? rest + kNsPerMs : rest)) / kNsPerMs;
}

/** The folders in @p path, with their last "/". */
std::string_view foldersOf(std::string_view path) {
    return path.substr(0, path.size() - baseName(path).size());
}

/** Length of the folders, with their last "/", that all files are in. */
size_t commonFolder(const std::vector<EvidenceFile>& files) {
    std::string_view common;
    for (const EvidenceFile& file : files) {
        const std::string_view name(file.name);
        if (&file == files.data()) common = foldersOf(name);
        const auto end = std::mismatch(common.begin(), common.end(), name.begin(), name.end());
        common = foldersOf(common.substr(0, static_cast<size_t>(end.first - common.begin())));
    }
    return common.size();
}

void addEvents(const Evidence& evidence, CatchRow& row) {
    for (const ReportedEvent& event : eventsOf(evidence)) {
        if (row.events.size() == kMostRows) break;
        row.events.push_back({cut(event.name), event.eventId,
                              msOf(utcOf(event.time, evidence.incident.utcOffsetSeconds)),
                              event.mask, cut(event.process), cut(event.version), cut(event.type),
                              event.pid, event.uid});
    }
}

void addFiles(const Evidence& evidence, CatchRow& row) {
    const size_t common = commonFolder(evidence.files);
    double bytes = 0;
    for (const EvidenceFile& file : evidence.files) {
        bytes += static_cast<double>(file.size);
        if (row.files.size() == kMostRows) continue;
        row.files.push_back({cut(std::string_view(file.name).substr(common)),
                             std::string(kindName(file.kind)), static_cast<int64_t>(file.size),
                             file.round});
    }
    row.statistics.push_back({"files", static_cast<double>(evidence.files.size())});
    row.statistics.push_back({"unpacked_bytes", bytes});
}

void addVerdict(const Verdict& verdict, CatchRow& row) {
    row.kind = verdict.kind;
    row.headline = cut(verdict.headline);
    row.isEnough = verdict.isEnough;
    row.fingerprint = verdict.fingerprint;
    std::string signature;
    for (const std::string& part : verdict.signature) {
        if (!part.empty()) signature += (signature.empty() ? "" : " | ") + part;
    }
    row.signature = cut(signature);
    double threads = 0;
    for (const ThreadDump& dump : verdict.dumps) {
        threads += static_cast<double>(dump.threads.size());
    }
    row.statistics.push_back({"threads", threads});
    row.statistics.push_back({"missing", static_cast<double>(verdict.missing.size())});
    for (const Finding& finding : verdict.findings) {
        if (row.findings.size() == kMostRows) break;
        row.findings.push_back(
                {finding.kind, std::string(weightName(finding.weight)), cut(finding.sentence)});
    }
}

}  // namespace

CatchRow catchRowOf(const Evidence& evidence, const Timeline& timeline, const Verdict& verdict) {
    const Incident& incident = evidence.incident;
    CatchRow row;
    row.archive = incident.archive;
    row.event = cut(incident.event);
    row.eventId = incident.eventId;
    row.process = cut(incident.process);
    row.version = cut(incident.version);
    row.type = cut(incident.type);
    row.build = cut(incident.build);
    row.utc = msOf(incident.utcNs);
    row.mask = incident.mask;
    for (const Problem& problem : evidence.problems) {
        if (!problem.isBroken) continue;
        row.isBroken = true;
        row.why += (row.why.empty() ? "" : " ") + problem.sentence;
    }
    row.why = cut(row.why);
    addEvents(evidence, row);
    addFiles(evidence, row);
    row.statistics.push_back({"log_lines", static_cast<double>(timeline.records.size())});
    row.statistics.push_back(
            {"problems", static_cast<double>(evidence.problems.size() + timeline.problems.size())});
    addVerdict(verdict, row);
    return row;
}

CatchRow readCatch(const std::filesystem::path& path) {
    const Evidence evidence = readEvidence(path);
    const Timeline timeline = buildTimeline(evidence);
    return catchRowOf(evidence, timeline, findCause(evidence, timeline));
}

}  // namespace kaveldesk
