#include <algorithm>
#include <cstdlib>
#include <set>

#include <android-base/strings.h>

#include "event/ReportJournal.h"
#include "tools/Commands.h"
#include "tools/StatusReader.h"
#include "tools/Text.h"
#include "tools/Values.h"

namespace android::kavel::tools {
namespace {

constexpr std::string_view kDescription =
        "Why is there no archive? Says in one sentence what has become of each of the latest "
        "reports, oldest first: its archive, what is still awaited, or why there is none. EVENT "
        "limits it to one event type: a number, the name that the type was configured with, or the "
        "name from the table of 'explain --event'.\n"
        "The daemon keeps the latest 32 reports since its start. Reports of one event type that "
        "were not caught for the same reason count as one.";

constexpr Option kOptions[] = {kJsonOption};

constexpr std::string_view kDetails =
        "Exit code 1: the daemon knows no report (of EVENT).\n"
        "JSON:\n"
        "  reports    list, oldest first, of:\n"
        "    time     ISO 8601\n"
        "    id       of the event type, hexadecimal text\n"
        "    name     of the event type, or null\n"
        "    process  text, or null\n"
        "    count    number of reports\n"
        "    fate     as in 'kavelctl status --json'\n"
        "    text     the fate in words\n"
        "    advice   text, what to do, or null\n"
        "    phase    text, what its catch does now, or null\n"
        "    leftMs   milliseconds until the end of the phase, or null\n"
        "    archive  name, or null\n"
        "    detail   text, or null\n";

std::string textOf(const Json::Value& value) {
    return value.isString() ? printable(value.asString()) : "";
}

/** Returns the member of the list @p list whose @p key is @p value, or null. */
const Json::Value* findIn(const Json::Value& list, const char* key, const Json::Value& value) {
    for (const Json::Value& item : list) {
        if (item[key] == value) return &item;
    }
    return nullptr;
}

std::string sentenceOf(const std::string& fate) {
    const auto* const row = std::find_if(kFates.begin(), kFates.end(),
                                         [&](const FateRow& one) { return one.key == fate; });
    return row == kFates.end() ? "unknown: " + fate : std::string(row->text);
}

/**
 * Returns the catch that packs the log folder of @p report, or its own if it has no folder; null if
 * it has ended. The oldest catch of a folder packs it; the catches of joiners end earlier.
 */
const Json::Value* catchOf(const Json::Value& status, const Json::Value& report) {
    if (!report["folder"].isString()) {
        return findIn(status["catches"], "recordId", report["recordId"]);
    }
    const std::string end = "/" + report["folder"].asString();
    for (const Json::Value& item : status["catches"]) {
        if (item["folder"].isString() && base::EndsWith(item["folder"].asString(), end)) {
            return &item;
        }
    }
    return nullptr;
}

/** Returns what helps against @p fate, or null. */
Json::Value adviceFor(const std::string& fate, const std::string& id, const Json::Value* type) {
    if (fate != rowOf(Fate::Disabled).key) return {};
    if (type != nullptr && (*type)["enabled"] == true) return "it is enabled by now";
    return "'kavelctl set " + id + (type == nullptr ? " --name NAME" : "") +
           " --enable' changes that";
}

/** Returns the JSON object about @p report. */
Json::Value explain(const Json::Value& status, const Json::Value& report) {
    const std::string fate = textOf(report["fate"]);
    const Json::Value* const type = findIn(status["eventTypes"], "id", report["id"]);
    const Json::Value* const running =
            fate == rowOf(Fate::Caught).key ? catchOf(status, report) : nullptr;
    Json::Value json;
    for (const char* const key : {"time", "id", "process", "count", "fate", "archive", "detail"}) {
        json[key] = report[key];
    }
    json["name"] = type == nullptr ? Json::Value() : (*type)["name"];
    json["text"] = sentenceOf(fate);
    json["phase"] = running == nullptr ? Json::Value() : (*running)["phase"];
    json["leftMs"] = running == nullptr ? Json::Value() : (*running)["leftMs"];
    json["advice"] = adviceFor(fate, textOf(report["id"]), type);
    return json;
}

void print(std::ostream& out, const Json::Value& report) {
    const std::string name = textOf(report["name"]);
    const std::string process = textOf(report["process"]);
    out << textOf(report["time"]) << ' ' << textOf(report["id"]) << (name.empty() ? "" : " ")
        << name << (process.empty() ? "" : " (" + process + ")");
    if (report["count"].isIntegral() && report["count"].asInt64() > 1) {
        out << ", the last of " << report["count"].asInt64();
    }
    out << ": " << textOf(report["text"]);
    for (const char* const key : {"advice", "phase"}) {
        if (report[key].isString()) out << "; " << textOf(report[key]);
    }
    if (report["leftMs"].isIntegral()) {
        out << ", " << report["leftMs"].asInt64() / 1000 << " s left";
    }
    for (const char* const key : {"archive", "detail"}) {
        if (report[key].isString()) out << "; " << textOf(report[key]);
    }
    out << '\n';
}

/** Returns the ids that @p event means: several, if types have the same name. @throws UsageError */
std::set<std::string> idsOf(const Json::Value& status, const std::string& event) {
    std::set<std::string> ids;
    for (const Json::Value& type : status["eventTypes"]) {
        // A number is always an id.
        if (!parseInteger(event) && type["name"] == event) ids.insert(textOf(type["id"]));
    }
    if (ids.empty()) ids.insert(hexText(static_cast<uint64_t>(parseEventId(event))));
    return ids;
}

/** Says why there is no sentence. */
std::string noReport(const Json::Value& status, const std::string& wanted) {
    const std::string of = wanted.empty() ? "" : " of " + printable(wanted);
    const Json::Value::ArrayIndex listed = status["recent"].size();
    if (listed >= ReportJournal::kRecent) {
        return "none of the latest " + std::to_string(listed) + " reports is" + of;
    }
    return "no report" + of + " has come in since the daemon's start " +
           std::to_string(status["uptimeSeconds"].asInt64()) + " s ago";
}

int runWhy(const Arguments& arguments, const Output& output) {
    const std::string wanted = arguments.operands.empty() ? "" : arguments.operands.front();
    const Json::Value status = readStatus();
    const auto ids = wanted.empty() ? std::set<std::string>() : idsOf(status, wanted);
    Json::Value json;
    Json::Value& reports = json["reports"] = Json::arrayValue;
    for (const Json::Value& report : status["recent"]) {
        if (!ids.empty() && ids.count(textOf(report["id"])) == 0) continue;
        reports.append(explain(status, report));
    }
    if (arguments.has("json")) {
        writeJson(output.out, json);
    } else {
        for (const Json::Value& report : reports) print(output.out, report);
    }
    if (reports.empty()) throw CommandError(noReport(status, wanted));
    return kExitOk;
}

}  // namespace

const Command kWhyCommand{"why",        "[EVENT]", "say what has become of the latest reports",
                          kDescription, kOptions,  runWhy,
                          kDetails};

}  // namespace android::kavel::tools
