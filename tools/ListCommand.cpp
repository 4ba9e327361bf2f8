#include <algorithm>
#include <cstdlib>
#include <set>

#include "tools/ArchiveFilter.h"
#include "tools/ArchiveReport.h"
#include "tools/ArchiveTime.h"
#include "tools/Commands.h"
#include "tools/Progress.h"
#include "tools/Suggestion.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

constexpr Option kOptions[] = {
        kEventOption,
        kProcessOption,
        {"since", "TIME", "only archives of events at TIME or later"},
        {"until", "TIME", "only archives of events before TIME"},
        {"limit", "N", "only the newest N of these archives; -N means the same, as for tail", 'n'},
        {"check", "",
         "read the archives too: shows all processes and the number of files, and marks broken "
         "archives, which does not change the exit code"},
        kDirOption,
        kJsonOption,
};

constexpr std::string_view kDescription =
        "Lists the archives of the collection directory, newest first, by their names and sizes. "
        "Each line begins with the number of the archive for other commands, such as 'kavelctl "
        "show'; -1 is the newest. The process is \"-\" if the daemon did not know it. Other files "
        "are only counted.\n"
        "TIME is an age such as 90s, 30m, 2h, 7d or 1w, or YYYY-MM-DD, then optionally THH:MM or "
        "THH:MM:SS (or a blank for T), then optionally Z or an offset such as +01:00; without one, "
        "the time zone is that of this machine.\n"
        "--check, --event and --process read the archives, at most the first 64 MiB of the "
        "unpacked content of each: a count such as 12+ means that there are more files, which "
        "'kavelctl show' reads.";

constexpr std::string_view kDetails =
        "JSON:\n"
        "  directory   text\n"
        "  passedOver  number of other entries\n"
        "  archives    list, newest first, of:\n"
        "    index      -1 for the newest\n"
        "    path       text\n"
        "    event      text\n"
        "    process    text, or null if it is not known\n"
        "    time       ISO 8601, the phone's local time\n"
        "    folderId   hexadecimal text\n"
        "    ota        text\n"
        "    sequence   1, or N for NAME.N.tar.gz, a further archive of the folder\n"
        "    size       of the archive, in bytes\n"
        "  and if the archives are read:\n"
        "    fileCount  number\n"
        "    partial    true if the archive has more content than was read\n"
        "    broken     text, why the archive cannot be read, or null\n"
        "    processes  list of texts\n"
        "    events     list of the objects in kavel_events.txt; may be empty\n"
        "    malformedEvents  list of that file's lines that are not such objects\n"
        "    moreEvents  true if that file has more lines than were read\n";

struct Listed {
    size_t number;
    Archive archive;
};

constexpr size_t kMaxNames = 1000;

std::set<std::string> namesOf(const Archive& archive) {
    const std::vector<std::string> names = processNames(archive);
    return {names.begin(), names.end()};
}

/** Says which of @p names the user may have meant: one that contains the text, or a similar one. */
void hintAtNames(const std::string& process, const std::set<std::string>& names,
                 const Output& output) {
    if (names.count(process) != 0) return;  // another condition is not met
    const auto longer = std::find_if(names.begin(), names.end(), [&](const std::string& name) {
        return name.find(process) != std::string::npos;
    });
    const std::string hint = longer == names.end()
                                     ? didYouMean(process, {names.begin(), names.end()})
                                     : " (did you mean '" + *longer + "'?)";
    if (hint.empty()) return;
    output.note() << "no process has the whole name '" << printable(process) << "'"
                  << printable(hint) << '\n';
}

std::vector<Listed> selectArchives(const Collection& collection, const Arguments& arguments,
                                   const Output& output) {
    const ArchiveFilter filter(arguments);
    const auto limit = static_cast<uint64_t>(
            std::abs(arguments.number("limit", -INT64_MAX, INT64_MAX, INT64_MAX)));
    const bool reads = arguments.has("check") || filter.needsContents();
    Progress progress(output, "read", collection.archives.size());
    std::vector<Listed> selected;
    std::set<std::string> others;  // processes of archives that do not match
    for (size_t i = 0; i < collection.archives.size() && selected.size() < limit; ++i) {
        const ArchiveEntry& entry = collection.archives[i];
        progress.step();
        if (!filter.matchesTime(entry.utcMs)) continue;
        Archive archive = reads ? loadArchive(entry.path, kSearchLimit) : archiveByName(entry);
        if (!filter.matches(archive)) {
            if (others.size() < kMaxNames) others.merge(namesOf(archive));
            continue;
        }
        // A list may have many archives and does not show these parts.
        archive.contents.files = {};
        archive.contents.history = {};
        archive.contents.events = {};
        archive.contents.extraInfo = {};
        selected.push_back({i + 1, std::move(archive)});
    }
    if (const auto process = arguments.value("process"); process && selected.empty()) {
        hintAtNames(*process, others, output);
    }
    return selected;
}

std::string markOf(const Archive& archive) {
    std::string mark;
    if (archive.name->sequence > 1) {
        mark += "  (archive " + std::to_string(archive.name->sequence) + " of its folder)";
    }
    const std::string& broken = archive.contents.broken;
    if (!broken.empty()) mark += "  BROKEN: " + printable(broken);
    return mark;
}

void printList(std::ostream& out, const std::vector<Listed>& list) {
    TableColumn number{{"#"}, Align::Right};
    TableColumn time{{"TIME"}};
    TableColumn size{{"SIZE"}, Align::Right};
    TableColumn files{{"FILES"}, Align::Right};
    TableColumn event{{"EVENT"}};
    TableColumn process{{"PROCESS"}};
    for (const auto& [index, archive] : list) {
        const ArchiveContents& contents = archive.contents;
        number.cells.push_back("-" + std::to_string(index));
        time.cells.push_back(isoTime(*archive.name, ' '));
        size.cells.push_back(sizeText(archive.size));
        files.cells.push_back(std::to_string(contents.fileCount) + (contents.isPartial ? "+" : ""));
        event.cells.push_back(printable(archive.subject.event));
        process.cells.push_back(printable(processesText(archive)) + markOf(archive));
    }
    if (list.front().archive.isRead) {
        printTable(out, {number, time, size, files, event, process});
    } else {
        printTable(out, {number, time, size, event, process});
    }
}

void writeListJson(std::ostream& out, const std::vector<Listed>& list, const Collection& collection,
                   const std::filesystem::path& directory) {
    Json::Value json;
    json["directory"] = directory.string();
    json["passedOver"] = Json::UInt64{collection.passedOver};
    Json::Value& archives = json["archives"] = Json::arrayValue;
    for (const Listed& each : list) {
        Json::Value summary = archiveSummary(each.archive);
        summary["index"] = -static_cast<Json::Int64>(each.number);
        archives.append(summary);
    }
    writeJson(out, json);
}

int runList(const Arguments& arguments, const Output& output) {
    const std::filesystem::path directory = directoryOf(arguments);
    const Collection collection = scanCollection(directory);
    const std::vector<Listed> list = selectArchives(collection, arguments, output);
    if (arguments.has("json")) {
        writeListJson(output.out, list, collection, directory);
        return kExitOk;
    }
    if (!list.empty()) printList(output.out, list);
    const size_t total = collection.archives.size();
    if (list.size() != total) output.out << list.size() << " of ";
    output.out << total << (total == 1 ? " archive" : " archives") << " in "
               << printable(directory.string());
    if (collection.passedOver != 0) {
        output.out << "; " << collection.passedOver << " other "
                   << (collection.passedOver == 1 ? "entry" : "entries") << " ignored";
    }
    const bool hasPartial = std::any_of(list.begin(), list.end(), [](const Listed& each) {
        return each.archive.contents.isPartial;
    });
    if (hasPartial) output.out << "; N+ files: 'kavelctl show' reads the whole archive";
    output.out << '\n';
    return kExitOk;
}

}  // namespace

const Command kListCommand{"list",       "",       "list the archives of the collection directory",
                           kDescription, kOptions, runList,
                           kDetails};

}  // namespace android::kavel::tools
