#include "tools/ArchiveReport.h"

#include <algorithm>
#include <iomanip>
#include <string_view>

#include "tools/Text.h"
#include "tools/Values.h"

namespace android::kavel::tools {
namespace {

Json::Value textOrNull(const std::string& text) {
    return text.empty() ? Json::Value() : Json::Value(text);
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
    std::vector<std::vector<std::string>> columns;
    for (const EventKey& key : kEventKeys) {
        if (key.column == nullptr || lines.events.empty()) continue;
        std::vector<std::string>& cells = columns.emplace_back();
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

std::string processesText(const Archive& archive) {
    constexpr size_t kMaxNames = 4;
    std::vector<std::string> names;
    const auto add = [&](const std::string& name) {
        if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
    };
    for (const Json::Value& event : archive.events.events) {
        const std::string process = event["process"].asString();
        add(process.empty() ? archive.subject.process : process);
    }
    if (names.empty()) add(archive.subject.process);
    std::string text;
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
    json["process"] = archive.name ? Json::Value(archive.subject.process) : Json::Value();
    json["time"] = archive.name ? Json::Value(readableTime(name, 'T')) : Json::Value();
    json["folderId"] = textOrNull(name.folderId);
    json["ota"] = archive.name ? Json::Value(name.otaVersion) : Json::Value();
    json["sequence"] = archive.name ? Json::Value(name.sequence) : Json::Value();
    json["size"] = Json::UInt64{archive.contents.archiveSize};
    json["fileCount"] = Json::UInt64{archive.contents.fileCount};
    json["partial"] = archive.contents.isPartial;
    json["broken"] = textOrNull(archive.contents.broken);
    Json::Value& events = json["events"] = Json::arrayValue;
    for (const Json::Value& event : archive.events.events) events.append(event);
    Json::Value& malformed = json["malformedEvents"] = Json::arrayValue;
    for (const std::string& line : archive.events.malformed) malformed.append(line);
    json["moreEvents"] = archive.contents.hasMoreEvents;
    return json;
}

Json::Value archiveDetails(const Archive& archive) {
    Json::Value json = archiveSummary(archive);
    Json::Value& history = json["history"] = Json::arrayValue;
    for (const HistoryLine& line : archive.history) {
        Json::Value entry;
        entry["event"] = line.eventName;
        entry["time"] = line.time;
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
        printField(out, "process", archive.subject.process);
        printField(out, "time", readableTime(*archive.name, ' '));
        printField(out, "folder", archive.name->folderId);
        printField(out, "ota", archive.name->otaVersion);
        if (archive.name->sequence > 1) {
            printField(out, "number", std::to_string(archive.name->sequence) + " of this folder");
        }
    }
    printField(out, "size", sizeText(contents.archiveSize));
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
