#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/core.h>
#include <json/value.h>
#include <json/writer.h>
#include <CLI/App.hpp>

#include "desk/cause/FindCause.h"
#include "desk/cause/Fingerprint.h"
#include "desk/cli/Commands.h"
#include "desk/cli/Incidents.h"
#include "desk/parse/Printable.h"
#include "desk/parse/Time.h"

namespace kaveldesk {
namespace {

constexpr int kJsonFormat = 1;

struct CauseOptions {
    std::vector<std::string> paths;
    bool isJson = false;
};

const std::string& fileOf(const Evidence& evidence, const Citation& citation) {
    return evidence.files[citation.place.file].name;
}

void printAsText(const IncidentData& data, const Verdict& verdict) {
    const Incident& incident = data.evidence.incident;
    fmt::print("{}\n  {}\n", printable(incident.archive), printable(verdict.headline));
    std::string_view weight;
    for (const Finding& finding : verdict.findings) {
        if (weight != weightName(finding.weight)) {
            weight = weightName(finding.weight);
            fmt::print("\n  {}\n", weight);
        }
        fmt::print("  - {}\n", printable(finding.sentence));
        for (const Citation& citation : finding.citations) {
            fmt::print("      {}:{}: {}\n", printable(fileOf(data.evidence, citation)),
                       citation.place.line, printable(citation.text));
        }
    }
    if (!verdict.missing.empty()) fmt::print("\n  missing\n");
    for (const std::string& missing : verdict.missing) fmt::print("  - {}\n", printable(missing));
    if (!verdict.fingerprint.empty()) {
        std::string parts;
        for (const std::string& part : verdict.signature) {
            if (!part.empty()) parts += (parts.empty() ? "" : " | ") + part;
        }
        fmt::print("\n  fingerprint {}  {}\n", verdict.fingerprint, printable(parts));
    }
}

std::string isoTime(int64_t utcNs, int32_t offsetSeconds) {
    std::string text = timeText(utcNs, offsetSeconds) + offsetText(offsetSeconds);
    text[text.find(' ')] = 'T';
    return text;
}

Json::Value arrayOf(const std::vector<std::string>& texts) {
    Json::Value array(Json::arrayValue);
    for (const std::string& text : texts) array.append(text);
    return array;
}

Json::Value jsonOf(const Evidence& evidence, const Finding& finding) {
    Json::Value json;
    json["kind"] = finding.kind;
    json["weight"] = std::string(weightName(finding.weight));
    json["sentence"] = finding.sentence;
    json["citations"] = Json::Value(Json::arrayValue);
    for (const Citation& citation : finding.citations) {
        Json::Value& place = json["citations"].append({});
        place["file"] = fileOf(evidence, citation);
        place["line"] = citation.place.line;
        place["text"] = citation.text;
    }
    return json;
}

Json::Value jsonOf(const IncidentData& data, const Verdict& verdict) {
    const Incident& incident = data.evidence.incident;
    Json::Value json;
    json["archive"] = incident.archive;
    json["event"] = incident.event;
    json["process"] = incident.process;
    json["time"] = incident.utcNs == 0 ? Json::Value()
                                       : isoTime(incident.utcNs, incident.utcOffsetSeconds);
    json["kind"] = verdict.kind;
    json["headline"] = verdict.headline;
    json["enough"] = verdict.isEnough;
    json["findings"] = Json::Value(Json::arrayValue);
    for (const Finding& finding : verdict.findings)
        json["findings"].append(jsonOf(data.evidence, finding));
    json["missing"] = arrayOf(verdict.missing);
    for (const char* list : {"problems", "notes"}) json[list] = Json::Value(Json::arrayValue);
    for (const Problem& problem : problemsOf(data)) {
        Json::Value& entry = json[problem.isNote ? "notes" : "problems"].append({});
        entry["file"] = problem.file;
        entry["sentence"] = problem.sentence;
    }
    json["signature"] = arrayOf(verdict.signature);
    json["fingerprint"] = verdict.fingerprint;
    json["fingerprintVersion"] = kFingerprintVersion;
    return json;
}

void runCause(const CauseOptions& options) {
    Json::Value document;
    document["format"] = kJsonFormat;
    document["archives"] = Json::Value(Json::arrayValue);
    bool isFirst = true;
    const std::vector<IncidentData> incidents = readIncidents(options.paths);
    for (const IncidentData& data : incidents) {
        const Verdict verdict = findCause(data.evidence, data.timeline);
        if (options.isJson) {
            document["archives"].append(jsonOf(data, verdict));
            continue;
        }
        if (!isFirst) fmt::print("\n");
        isFirst = false;
        printProblems(data);
        printAsText(data, verdict);
    }
    if (options.isJson) {
        Json::StreamWriterBuilder settings;
        settings["indentation"] = "  ";
        fmt::print("{}\n", Json::writeString(settings, document));
    }
    requireText(incidents);
}

}  // namespace

void addCause(CLI::App& app) {
    const auto options = std::make_shared<CauseOptions>();
    CLI::App* command = app.add_subcommand(
            "cause",
            "Says what most likely happened, with the lines that show it, and what is missing.\n"
            "The exit status is 0 also if there is not enough evidence for a cause, 1 if no "
            "text can be read.");
    addPaths(*command, options->paths);
    command->add_flag("--json", options->isJson, "One JSON document");
    command->callback([options] { runCause(*options); });
}

}  // namespace kaveldesk
