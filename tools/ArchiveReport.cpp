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

/** Prints the lines of a file of the archive, indented. */
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

}  // namespace

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
    json["broken"] = textOrNull(archive.contents.broken);
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
    if (contents.hasExtraInfo) printText(out, "extraInfo.txt", contents.extraInfo);

    out << "files (" << contents.fileCount << "):\n";
    for (const ArchivedFile& file : contents.files) {
        out << "  " << std::right << std::setw(10) << sizeText(file.size) << "  "
            << printable(file.name) << '\n';
    }
    if (contents.fileCount > contents.files.size()) {
        out << "  ... and " << contents.fileCount - contents.files.size() << " more\n";
    }
    if (!contents.broken.empty()) {
        out << "broken: " << printable(contents.broken)
            << "; what is shown is what could be read\n";
    }
}

}  // namespace android::kavel::tools
