#include "tools/ExplainEvents.h"

#include <json/value.h>

#include <limits>
#include <vector>

#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

/** One column of the table of event types, as users see it. */
struct Column {
    const char* title;
    const char* key;  ///< in JSON
    Json::Value (*value)(const EventType& type);
    const char* meaning;
    bool isCode = false;  ///< a literal text of the interface
};

Json::Value textOrNull(std::string_view text) {
    return text.empty() ? Json::Value() : Json::Value(std::string(text));
}

/** A value of an enumeration and its text. */
template <typename Value>
struct Name {
    Value value;
    const char* text;
};

constexpr Name<ExtraTextForm> kExtraTexts[] = {
        {ExtraTextForm::Whole, "process"},
        {ExtraTextForm::ProcessVersion, "process, version"},
        {ExtraTextForm::ProcessVersionType, "process, version, type"},
        {ExtraTextForm::ProcessType, "process, type"},
};
constexpr Name<StatisticRule> kStatistics[] = {
        {StatisticRule::All, "all"},
        {StatisticRule::NewOnly, "not closeUser, dialog, end"},
};
constexpr Name<FolderSubject> kSubjects[] = {
        {FolderSubject::Process, "process"},
        {FolderSubject::System, "system"},
};
constexpr Name<LogRule> kLogs[] = {
        {LogRule::Collected, "selected"},
        {LogRule::HangFiles, "hang files"},
        {LogRule::None, "none"},
};
constexpr Name<CommercialPart> kCommercialParts[] = {
        {CommercialPart::Action, "action"},
        {CommercialPart::Neighbour, "neighbour"},
        {CommercialPart::None, "none"},
};
constexpr Name<SystemTrace::Source> kTraceSources[] = {
        {SystemTrace::Source::Framework, "framework"},
        {SystemTrace::Source::Native, "native"},
};
constexpr Name<ExtraInfoFile> kExtraInfos[] = {
        {ExtraInfoFile::Anr, "anr"},
        {ExtraInfoFile::Crash, "crash"},
};

/** Returns the text of @p value; empty if it has none. */
template <typename Value, size_t N>
std::string nameOf(const Name<Value> (&names)[N], Value value) {
    for (const Name<Value>& name : names) {
        if (name.value == value) return name.text;
    }
    return "";
}

std::string traceText(const SystemTrace& trace) {
    const std::string source = nameOf(kTraceSources, trace.source);
    return source.empty() ? "" : source + ' ' + hexText(static_cast<uint64_t>(trace.code));
}

const Column kColumns[] = {
        {"Event type", "ids", [](const EventType& type) { return Json::Value(idsText(type.ids)); },
         "event ids of the row"},
        {"Name", "name", [](const EventType& type) { return textOrNull(type.name); },
         "what kavelctl explain accepts instead of the id; archives have the name that the type "
         "was configured with",
         true},
        {"Extra text", "extraText",
         [](const EventType& type) { return textOrNull(nameOf(kExtraTexts, type.extraText)); },
         "what the daemon reads from the extra text; one part alone is the whole text"},
        {"Folder", "folder",
         [](const EventType& type) { return textOrNull(nameOf(kSubjects, type.subject)); },
         "PROCESS in the names of log folder and archive: the process of the report, or the word "
         "system"},
        {"Statistic", "statistic",
         [](const EventType& type) { return textOrNull(nameOf(kStatistics, type.statistic)); },
         "reports whose statistic is uploaded, by the type in their extra text"},
        {"Logs", "logs", [](const EventType& type) { return textOrNull(nameOf(kLogs, type.logs)); },
         "selected: those of the log-info word; hang files: only those of the multimedia tooling, "
         "five minutes later; none: record and statistic only"},
        {"Commercial", "commercial",
         [](const EventType& type) { return textOrNull(commercialPartText(type.commercial)); },
         "on a commercial build. action: abnormal action, which has an archive of its own, never "
         "joins a window, and is dropped within 30 s of another one; neighbour: in the archive of "
         "an abnormal action near it; none: in no archive"},
        {"System trace", "systemTrace",
         [](const EventType& type) { return textOrNull(traceText(type.trace)); },
         "trace that each catch requests, and its code in the log"},
        {"extraInfo.txt", "extraInfo",
         [](const EventType& type) { return textOrNull(nameOf(kExtraInfos, type.extraInfo)); },
         "file in the archive of a trail build. anr: process and version; crash: the type too"},
        {"Backtrace", "backtrace",
         [](const EventType& type) {
             return textOrNull(type.backtrace == nullptr ? "" : type.backtrace);
         },
         "files of the framework that the pack moves into the archive", true},
        {"App logs", "appLogs",
         [](const EventType& type) { return Json::Value(type.has(kAppLogs)); },
         "reports about com.tencent.mm add the app's own logs, except on a commercial build"},
        {"Quick pack", "quickPack",
         [](const EventType& type) { return Json::Value(type.has(kQuickPack)); },
         "a window is 5 s long, and the pack does not wait until the log bits are confirmed"},
        {"Recovery", "recovery",
         [](const EventType& type) { return Json::Value(type.has(kRecoverable)); },
         "with a recover id, a recovery action takes the place of the catch"},
};

/** Returns all rows, the one for all other event types last. */
std::vector<const EventType*> allRows() {
    std::vector<const EventType*> rows;
    rows.reserve(kEventTypes.size() + 1);
    for (const EventType& type : kEventTypes) rows.push_back(&type);
    rows.push_back(&kOtherEventTypes);
    return rows;
}

std::string cellText(const Column& column, const EventType& type) {
    const Json::Value value = column.value(type);
    if (value.isBool()) return value.asBool() ? "yes" : "-";
    return value.isNull() ? "-" : value.asString();
}

}  // namespace

std::string idsText(const EventIds& ids) {
    const auto hex = [](int64_t id) { return hexText(static_cast<uint64_t>(id)); };
    const bool isOpen = ids.last == std::numeric_limits<int64_t>::max();
    if (isOpen && ids.first == std::numeric_limits<int64_t>::min()) return "any other";
    if (isOpen) return "from " + hex(ids.first);
    return ids.first == ids.last ? hex(ids.first) : hex(ids.first) + " to " + hex(ids.last);
}

std::string commercialPartText(CommercialPart part) {
    return nameOf(kCommercialParts, part);
}

void printEventType(std::ostream& out, int64_t eventId) {
    const EventType& type = eventTypeOf(eventId);
    out << "event type " << hexText(static_cast<uint64_t>(eventId)) << '\n';
    for (const Column& column : kColumns) {
        out << '\n'
            << column.title << ": " << cellText(column, type) << "\n    " << column.meaning << '\n';
    }
}

void printEventTypes(std::ostream& out) {
    std::vector<TableColumn> columns;
    for (const Column& column : kColumns) {
        std::vector<std::string>& cells = columns.emplace_back().cells;
        cells.emplace_back(column.title);
        for (const EventType* type : allRows()) cells.push_back(cellText(column, *type));
    }
    printTable(out, columns);
}

void printEventTypesPage(std::ostream& out) {
    out << "# Event types\n"
           "\n"
           "What differs by event type. The daemon's own table (`event/EventTypes.cpp`), as "
           "printed by\n"
           "`kavelctl explain --event --markdown`; a test compares the two. "
           "[interfaces.md](interfaces.md) says how\n"
           "reports and archives look, the [glossary](glossary.md) what the terms mean.\n"
           "\n"
           "| Column | Meaning |\n"
           "|---|---|\n";
    for (const Column& column : kColumns) {
        out << "| " << column.title << " | " << column.meaning << " |\n";
    }
    std::string titles = "\n|";
    std::string line = "|";
    for (const Column& column : kColumns) {
        titles += ' ' + std::string(column.title) + " |";
        line += "---|";
    }
    out << titles << '\n' << line << '\n';
    for (const EventType* type : allRows()) {
        out << '|';
        for (const Column& column : kColumns) {
            const bool isCode = column.isCode && !column.value(*type).isNull();
            out << (isCode ? " `" : " ") << cellText(column, *type) << (isCode ? "` |" : " |");
        }
        out << '\n';
    }
}

void writeEventTypesJson(std::ostream& out, std::optional<int64_t> eventId) {
    const std::vector<const EventType*> rows =
            eventId ? std::vector<const EventType*>{&eventTypeOf(*eventId)} : allRows();
    Json::Value json;
    json["eventTypes"] = Json::arrayValue;
    for (const EventType* type : rows) {
        Json::Value& row = json["eventTypes"].append(Json::objectValue);
        for (const Column& column : kColumns) row[column.key] = column.value(*type);
    }
    writeJson(out, json);
}

}  // namespace android::kavel::tools
