#include <algorithm>
#include <iomanip>

#include "dump/LogFolderName.h"
#include "tools/ArchiveReport.h"
#include "tools/Collection.h"
#include "tools/Commands.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

constexpr Option kOptions[] = {kDirOption, kJsonOption};

// Maximum number of unpacked bytes to read from an archive. A list reads many archives, and one may
// unpack to a thousand times its size.
constexpr uint64_t kListLimit = uint64_t{64} << 20;
constexpr uint64_t kShowLimit = uint64_t{4} << 30;

std::filesystem::path directoryOf(const Arguments& arguments) {
    return arguments.value("dir").value_or(kArchiveDirectory);
}

constexpr std::string_view kListDescription =
        "Lists the archives of the collection directory, newest first. Each line begins with the "
        "number of the archive for 'kavelctl show'; -1 is the newest. Archives that cannot be read "
        "to their end are marked broken; this does not change the exit code. Other files are only "
        "counted. Reads at most the first 64 MiB of an archive's unpacked content: a count such as "
        "12+ means that there are more files, which 'kavelctl show' reads.";

constexpr std::string_view kListDetails =
        "JSON:\n"
        "  directory   text\n"
        "  passedOver  number of other entries\n"
        "  archives    list, newest first, of:\n"
        "    index      -1 for the newest\n"
        "    path       text\n"
        "    event      text\n"
        "    process    text\n"
        "    time       YYYY-MM-DDTHH:MM:SS.mmm, the phone's local time\n"
        "    folderId   hexadecimal text\n"
        "    ota        text\n"
        "    sequence   1, or N for NAME.N.tar.gz, a further archive of the folder\n"
        "    size       of the archive, in bytes\n"
        "    fileCount  number\n"
        "    partial    true if the archive has more content than was read\n"
        "    broken     text, why the archive cannot be read, or null\n"
        "    events     list of the objects in kavel_events.txt; may be empty\n"
        "    malformedEvents  list of that file's lines that are not such objects\n"
        "    moreEvents  true if that file has more lines than were read\n";

void printList(std::ostream& out, const std::vector<Archive>& archives) {
    struct Row {
        std::string number, time, size, files, event, processes, mark;
    };
    std::vector<Row> rows{{"#", "TIME", "SIZE", "FILES", "EVENT", "PROCESS", ""}};
    size_t eventWidth = 0;
    for (size_t i = 0; i < archives.size(); ++i) {
        const Archive& archive = archives[i];
        const ArchiveContents& contents = archive.contents;
        std::string mark;
        if (archive.name->sequence > 1) {
            mark += "  (archive " + std::to_string(archive.name->sequence) + " of its folder)";
        }
        if (!contents.broken.empty()) mark += "  BROKEN: " + printable(contents.broken);
        rows.push_back({"-" + std::to_string(i + 1), readableTime(*archive.name, ' '),
                        sizeText(contents.archiveSize),
                        std::to_string(contents.fileCount) + (contents.isPartial ? "+" : ""),
                        printable(archive.subject.event), printable(processesText(archive)), mark});
    }
    for (const Row& row : rows) eventWidth = std::max(eventWidth, row.event.size());
    for (const Row& row : rows) {
        out << std::right << std::setw(5) << row.number << "  " << std::left << std::setw(23)
            << row.time << std::right << std::setw(11) << row.size << std::setw(7) << row.files
            << "  " << std::left << std::setw(static_cast<int>(eventWidth)) << row.event << "  "
            << row.processes << row.mark << '\n';
    }
}

int runList(const Arguments& arguments, const Output& output) {
    const std::filesystem::path directory = directoryOf(arguments);
    const Collection collection = scanCollection(directory);
    std::vector<Archive> archives;
    for (const auto& path : collection.archives) {
        Archive archive = loadArchive(path, kListLimit);
        // A list may have many archives and does not show these parts.
        archive.contents.files = {};
        archive.contents.history = {};
        archive.contents.events = {};
        archive.contents.extraInfo = {};
        archives.push_back(std::move(archive));
    }

    if (arguments.has("json")) {
        Json::Value json;
        json["directory"] = directory.string();
        json["passedOver"] = Json::UInt64{collection.passedOver};
        Json::Value& list = json["archives"] = Json::arrayValue;
        for (const Archive& archive : archives) {
            Json::Value summary = archiveSummary(archive);
            summary["index"] = -static_cast<Json::Int64>(list.size()) - 1;
            list.append(summary);
        }
        writeJson(output.out, json);
        return kExitOk;
    }
    if (!archives.empty()) printList(output.out, archives);
    output.out << archives.size() << (archives.size() == 1 ? " archive" : " archives") << " in "
               << printable(directory.string());
    if (collection.passedOver != 0) {
        output.out << "; " << collection.passedOver << " other "
                   << (collection.passedOver == 1 ? "entry" : "entries") << " ignored";
    }
    const bool hasPartial = std::any_of(archives.begin(), archives.end(), [](const Archive& each) {
        return each.contents.isPartial;
    });
    if (hasPartial) output.out << "; N+ files: 'kavelctl show' reads the whole archive";
    output.out << '\n';
    return kExitOk;
}

constexpr std::string_view kShowDescription =
        "Shows one archive: the parts of its name, its history lines, its events, its "
        "extraInfo.txt and its files. -N is the Nth newest archive of the collection directory. "
        "ARCHIVE is a path, or a file name in that directory, with or without .tar.gz. If the "
        "archive is broken, shows the part that can be read, and exits with 1.";

constexpr std::string_view kShowDetails =
        "JSON: the keys of an archive in 'kavelctl list --json' without index (event to sequence\n"
        "are null if the name has another form), and\n"
        "  history    list of {event, time, logInfo: hexadecimal text, recordId}\n"
        "  extraInfo  text, or null if there is none\n"
        "  files      list of {name, size in bytes}, 4096 at most\n";

int runShow(const Arguments& arguments, const Output& output) {
    const Archive archive = loadArchive(
            findArchive(arguments.operands.front(), directoryOf(arguments)), kShowLimit);
    if (arguments.has("json")) {
        writeJson(output.out, archiveDetails(archive));
    } else {
        printArchive(output.out, archive);
    }
    return archive.contents.broken.empty() ? kExitOk : kExitRefused;
}

}  // namespace

const Command kListCommand{
        "list",           "",       "list the archives of the collection directory",
        kListDescription, kOptions, runList,
        kListDetails};

const Command kShowCommand{"show",           "ARCHIVE|-N", "show the contents of one archive",
                           kShowDescription, kOptions,     runShow,
                           kShowDetails};

}  // namespace android::kavel::tools
