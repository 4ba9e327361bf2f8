#include <algorithm>
#include <cstdlib>
#include <set>

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

constexpr std::string_view kDetails = "Exit code 1: the daemon knows no report (of EVENT).\n";

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

/** What the catch of @p report does now, and how long that takes; empty if it has ended. */
std::string progressOf(const Json::Value& status, const Json::Value& report) {
    const Json::Value* const running = findIn(status["catches"], "recordId", report["recordId"]);
    if (running == nullptr) return "";
    std::string text = textOf((*running)["phase"]);
    const Json::Value& left = (*running)["leftMs"];
    if (left.isIntegral()) text += ", " + std::to_string(left.asInt64() / 1000) + " s left";
    return text;
}

void printReport(std::ostream& out, const Json::Value& status, const Json::Value& report) {
    const std::string id = textOf(report["id"]);
    const Json::Value* const type = findIn(status["eventTypes"], "id", report["id"]);
    const std::string name = type == nullptr ? "" : textOf((*type)["name"]);
    const std::string process = textOf(report["process"]);
    const std::string fate = textOf(report["fate"]);
    out << textOf(report["time"]) << ' ' << id << (name.empty() ? "" : " ") << name
        << (process.empty() ? "" : " (" + process + ")");
    if (report["count"].isIntegral() && report["count"].asInt64() > 1) {
        out << ", the last of " << report["count"].asInt64();
    }
    out << ": " << sentenceOf(fate);
    if (fate == rowOf(Fate::Disabled).key) {
        out << "; 'kavelctl set " << id << (type == nullptr ? " --name NAME" : "")
            << " --enable' changes that";
    }
    const std::string progress = fate == rowOf(Fate::Caught).key ? progressOf(status, report) : "";
    for (const std::string& part :
         {progress, textOf(report["archive"]), textOf(report["detail"])}) {
        if (!part.empty()) out << "; " << part;
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

int runWhy(const Arguments& arguments, const Output& output) {
    const std::string wanted = arguments.operands.empty() ? "" : arguments.operands.front();
    const Json::Value status = readStatus();
    const auto ids = wanted.empty() ? std::set<std::string>() : idsOf(status, wanted);
    int count = 0;
    for (const Json::Value& report : status["recent"]) {
        if (!ids.empty() && ids.count(textOf(report["id"])) == 0) continue;
        printReport(output.out, status, report);
        ++count;
    }
    if (count > 0) return kExitOk;
    throw CommandError("no report" + (wanted.empty() ? "" : " of " + printable(wanted)) +
                       " has come in since the daemon's start " +
                       std::to_string(status["uptimeSeconds"].asInt64()) +
                       " s ago, or it was too long ago");
}

}  // namespace

const Command kWhyCommand{"why",        "[EVENT]", "say what has become of the latest reports",
                          kDescription, {},        runWhy,
                          kDetails};

}  // namespace android::kavel::tools
