#include "tools/ArchiveReport.h"

#include <algorithm>
#include <iomanip>
#include <string_view>

#include "tools/ArchiveTime.h"
#include "tools/Text.h"
#include "tools/Values.h"

namespace android::kavel::tools {
namespace {

Json::Value textOrNull(const std::string& text) {
    return text.empty() ? Json::Value() : Json::Value(text);
}

/** Returns the time of @p line, with its offset if the archive's name or events file has it. */
std::string historyTime(const HistoryLine& line, const Archive& archive) {
    if (archive.name && archive.name->timeText == line.time) return isoTime(*archive.name, 'T');
    for (const Json::Value& event : archive.events.events) {
        if (event["recordId"].asInt64() == line.recordId) return event["local"].asString();
    }
    return isoLocalTime(line.time, 'T');
}

/** Prints the lines of a file from the archive, indented. */
void printText(std::ostream& out, std::string_view title, std::string_view text) {
    out << title << (text.size() >= kMaxText ? " (its first 64 KiB):\n" : ":\n");
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        out << "  " << printable(text.substr(0, end)) << '\n';
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

void printField(std::ostream& out, const char* name, const std::string& value) {
    out << std::left << std::setw(9) << name << printable(value) << '\n';
}

/** Prints a table with one row for each event, then the lines that are not events. */
void printEvents(std::ostream& out, const Archive& archive) {
    const EventLines& lines = archive.events;
    out << "events (" << lines.events.size() << "):\n";
    std::vector<TableColumn> columns;
    for (const EventKey& key : kEventKeys) {
        if (key.column == nullptr || lines.events.empty()) continue;
        std::vector<std::string>& cells = columns.emplace_back().cells;
        cells.emplace_back(key.column);
        for (const Json::Value& event : lines.events) {
            cells.push_back(printable(event[key.name].asString()));
        }
    }
    printTable(out, columns);
    for (const std::string& line : lines.malformed) {
        out << "  malformed: " << printable(line) << '\n';
    }
    if (archive.contents.hasMoreEvents) out << "  ... and more\n";
}

}  // namespace

std::vector<std::string> processNames(const Archive& archive) {
    std::vector<std::string> names;
    const auto add = [&](const std::string& name) {
        if (name.empty() || std::find(names.begin(), names.end(), name) != names.end()) return;
        names.push_back(name);
    };
    for (const Json::Value& event : archive.events.events) {
        const std::string process = event["process"].asString();
        add(process.empty() ? archive.subject.process : process);
    }
    if (archive.events.events.empty()) add(archive.subject.process);
    return names;
}

std::string processesText(const Archive& archive) {
    constexpr size_t kMaxNames = 4;
    const std::vector<std::string> names = processNames(archive);
    std::string text = names.empty() ? "-" : "";
    for (size_t i = 0; i < std::min(names.size(), kMaxNames); ++i) {
        text += (i == 0 ? "" : ", ") + names[i];
    }
    if (names.size() > kMaxNames) {
        text += " and " + std::to_string(names.size() - kMaxNames) + " more";
    }
    return text;
}

Json::Value archiveSummary(const Archive& archive) {
    const LogName name = archive.name.value_or(LogName{});
    Json::Value json;
    json["path"] = archive.path.string();
    json["event"] = archive.name ? Json::Value(archive.subject.event) : Json::Value();
    json["process"] = textOrNull(archive.subject.process);
    json["time"] = archive.name ? Json::Value(isoTime(name, 'T')) : Json::Value();
    json["folderId"] = textOrNull(name.folderId);
    json["ota"] = archive.name ? Json::Value(name.otaVersion) : Json::Value();
    json["sequence"] = archive.name ? Json::Value(name.sequence) : Json::Value();
    json["size"] = Json::UInt64{archive.size};
    if (!archive.isRead) return json;
    json["fileCount"] = Json::UInt64{archive.contents.fileCount};
    json["partial"] = archive.contents.isPartial;
    json["broken"] = textOrNull(archive.contents.broken);
    json["processes"] = jsonList(processNames(archive));
    Json::Value& events = json["events"] = Json::arrayValue;
    for (const Json::Value& event : archive.events.events) events.append(event);
    json["malformedEvents"] = jsonList(archive.events.malformed);
    json["moreEvents"] = archive.contents.hasMoreEvents;
    return json;
}

Json::Value archiveDetails(const Archive& archive) {
    Json::Value json = archiveSummary(archive);
    Json::Value& history = json["history"] = Json::arrayValue;
    for (const HistoryLine& line : archive.history) {
        Json::Value entry;
        entry["event"] = line.eventName;
        entry["time"] = historyTime(line, archive);
        entry["logInfo"] = hexText(line.logInfo);
        entry["recordId"] = Json::Int64{line.recordId};
        history.append(entry);
    }
    json["extraInfo"] =
            archive.contents.hasExtraInfo ? Json::Value(archive.contents.extraInfo) : Json::Value();
    Json::Value& files = json["files"] = Json::arrayValue;
    for (const ArchivedFile& file : archive.contents.files) {
        Json::Value entry;
        entry["name"] = file.name;
        entry["size"] = Json::UInt64{file.size};
        files.append(entry);
    }
    return json;
}

void printArchive(std::ostream& out, const Archive& archive) {
    const ArchiveContents& contents = archive.contents;
    printField(out, "path", archive.path.string());
    if (archive.name) {
        printField(out, "event", archive.subject.event);
        printField(out, "process", processesText(archive));
        printField(out, "time", isoTime(*archive.name, ' '));
        printField(out, "folder", archive.name->folderId);
        printField(out, "ota", archive.name->otaVersion);
        if (archive.name->sequence > 1) {
            printField(out, "number", std::to_string(archive.name->sequence) + " of this folder");
        }
    }
    printField(out, "size", sizeText(archive.size));
    if (!contents.history.empty()) printText(out, "history", contents.history);
    if (!contents.events.empty()) printEvents(out, archive);
    if (contents.hasExtraInfo) printText(out, "extraInfo.txt", contents.extraInfo);

    out << "files (" << contents.fileCount << "):\n";
    for (const ArchivedFile& file : contents.files) {
        out << "  " << std::right << std::setw(10) << sizeText(file.size) << "  "
            << printable(file.name) << '\n';
    }
    if (contents.fileCount > contents.files.size()) {
        out << "  ... and " << contents.fileCount - contents.files.size() << " more\n";
    }
    if (contents.isPartial) out << "too large: only the first 4 GiB were read\n";
    if (!contents.broken.empty()) {
        out << "broken: " << printable(contents.broken)
            << "; the rest of the archive is not shown\n";
    }
}

}  // namespace android::kavel::tools
