#include "desk/report/Summary.h"

#include <json/json.h>

namespace kaveldesk {
namespace {

constexpr const char* kWeights[] = {"cause", "contributing", "observation"};
constexpr const char* kRelations[] = {"holds", "waits to lock", "waits on", "sleeps on"};
constexpr const char* kUnits[] = {"percent", "kB"};
constexpr auto kLastKind = FileKind::Dumpsys;

template <typename T, size_t N>
const char* nameIn(const char* const (&names)[N], T value) {
    return names[static_cast<size_t>(value)];
}

double milliseconds(int64_t ns) {
    const int64_t microseconds = ns / 1000;
    return static_cast<double>(microseconds) / 1000;
}

template <typename T, typename Convert>
Json::Value list(const std::vector<T>& values, Convert convert) {
    Json::Value out(Json::arrayValue);
    for (const auto& value : values) out.append(convert(value));
    return out;
}

Json::Value strings(const std::vector<std::string>& values) {
    return list(values, [](const std::string& value) { return Json::Value(value); });
}

Json::Value ofIncident(const Incident& incident) {
    Json::Value out;
    out["archive"] = incident.archive;
    out["event"] = incident.event;
    out["eventId"] = static_cast<Json::Int64>(incident.eventId);
    out["process"] = incident.process;
    out["version"] = incident.version;
    out["type"] = incident.type;
    out["build"] = incident.build;
    out["pid"] = incident.pid;
    out["uid"] = incident.uid;
    out["mask"] = incident.mask;
    out["time"] = milliseconds(incident.utcNs);
    out["offset"] = incident.hasUtcOffset ? incident.utcOffsetSeconds : 0;
    out["hasOffset"] = incident.hasUtcOffset;
    return out;
}

Json::Value ofFile(const EvidenceFile& file) {
    Json::Value out;
    out["name"] = file.name;
    out["kind"] = static_cast<int>(file.kind);
    out["round"] = file.round;
    out["size"] = static_cast<Json::UInt64>(file.size);
    out["read"] = static_cast<Json::UInt64>(file.text.size());
    return out;
}

Json::Value ofProblem(const Problem& problem) {
    Json::Value out;
    out["file"] = problem.file;
    out["sentence"] = problem.sentence;
    out["isNote"] = problem.isNote;
    return out;
}

Json::Value ofMark(const Mark& mark) {
    Json::Value out;
    out["from"] = milliseconds(mark.fromNs);
    out["to"] = milliseconds(mark.toNs);
    out["label"] = mark.label;
    return out;
}

Json::Value ofCitation(const Citation& citation) {
    Json::Value out;
    out["file"] = citation.place.file;
    out["line"] = citation.place.line;
    out["text"] = citation.text;
    return out;
}

Json::Value ofFinding(const Finding& finding) {
    Json::Value out;
    out["kind"] = finding.kind;
    out["weight"] = nameIn(kWeights, finding.weight);
    out["sentence"] = finding.sentence;
    out["citations"] = list(finding.citations, ofCitation);
    return out;
}

Json::Value ofThread(const Thread& thread) {
    Json::Value out;
    out["name"] = thread.name;
    out["state"] = thread.state;
    out["tid"] = thread.tid;
    out["sysTid"] = thread.sysTid;
    out["line"] = thread.firstLine;
    out["channel"] = thread.waitChannel;
    out["frames"] = list(thread.frames, [](const Frame& frame) {
        Json::Value item;
        item["text"] = frame.text;
        item["line"] = frame.line;
        item["native"] = frame.isNative;
        return item;
    });
    out["locks"] = list(thread.locks, [](const Lock& lock) {
        Json::Value item;
        item["relation"] = nameIn(kRelations, lock.relation);
        item["id"] = lock.id;
        item["className"] = lock.className;
        item["heldBy"] = lock.heldByTid;
        item["line"] = lock.line;
        return item;
    });
    return out;
}

Json::Value ofDump(const ThreadDump& dump) {
    Json::Value out;
    out["process"] = dump.process;
    out["pid"] = dump.pid;
    out["time"] = milliseconds(dump.utcNs);
    out["subject"] = dump.subject;
    out["file"] = dump.file;
    out["line"] = dump.firstLine;
    out["isComplete"] = dump.isComplete;
    out["threads"] = list(dump.threads, ofThread);
    return out;
}

Json::Value ofVerdict(const Verdict& verdict) {
    Json::Value out;
    out["kind"] = verdict.kind;
    out["headline"] = verdict.headline;
    out["isEnough"] = verdict.isEnough;
    out["findings"] = list(verdict.findings, ofFinding);
    out["missing"] = strings(verdict.missing);
    out["signature"] = strings(verdict.signature);
    out["fingerprint"] = verdict.fingerprint;
    return out;
}

Json::Value ofSeries(const Series& series) {
    Json::Value out;
    out["name"] = series.name;
    out["unit"] = nameIn(kUnits, series.unit);
    out["points"] = list(series.points, [](const Series::Point& point) {
        Json::Value item;
        item["time"] = milliseconds(point.utcNs);
        item["value"] = point.value;
        item["file"] = point.place.file;
        item["line"] = point.place.line;
        return item;
    });
    return out;
}

}  // namespace

std::string summaryJson(const Evidence& evidence, const Timeline& timeline, const Verdict& verdict,
                        const std::vector<Series>& usage) {
    Json::Value out;
    out["incident"] = ofIncident(evidence.incident);
    for (size_t kind = 0; kind <= static_cast<size_t>(kLastKind); ++kind) {
        out["kinds"].append(std::string(kindName(static_cast<FileKind>(kind))));
    }
    out["files"] = list(evidence.files, ofFile);
    out["problems"] = list(evidence.problems, ofProblem);
    for (const auto& problem : timeline.problems) out["problems"].append(ofProblem(problem));
    out["records"] = static_cast<Json::UInt64>(timeline.records.size());
    out["marks"] = list(timeline.marks, ofMark);
    out["verdict"] = ofVerdict(verdict);
    out["dumps"] = list(verdict.dumps, ofDump);
    out["usage"] = list(usage, ofSeries);
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    writer["emitUTF8"] = true;
    return Json::writeString(writer, out);
}

}  // namespace kaveldesk
