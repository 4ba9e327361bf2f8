#include "tools/Collection.h"

#include <algorithm>
#include <system_error>
#include <tuple>

#include "dump/LogFolderName.h"
#include "tools/CommandLine.h"
#include "tools/Text.h"
#include "tools/Values.h"

namespace android::kavel::tools {
namespace fs = std::filesystem;
namespace {

bool isRegularFile(const fs::path& path) {
    std::error_code error;
    return fs::is_regular_file(path, error);
}

[[noreturn]] void cannotRead(const fs::path& directory, const std::error_code& error) {
    throw CommandError("cannot read " + printable(directory.string()) + ": " + error.message());
}

}  // namespace

Collection scanCollection(const fs::path& directory) {
    struct Found {
        LogName name;
        fs::path path;
    };
    Collection collection;
    std::vector<Found> found;
    std::error_code error;
    fs::directory_iterator entry(directory, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        auto name = parseArchiveName(entry->path().filename().string());
        if (name && isRegularFile(entry->path())) {
            found.push_back({std::move(*name), entry->path()});
        } else {
            ++collection.passedOver;
        }
    }
    if (error) cannotRead(directory, error);

    std::sort(found.begin(), found.end(), [](const Found& a, const Found& b) {
        const auto key = [](const LogName& name) {
            return std::tie(name.timeText, name.folderId, name.sequence, name.folder);
        };
        return key(a.name) > key(b.name);
    });
    for (Found& archive : found) collection.archives.push_back(std::move(archive.path));
    return collection;
}

Archive loadArchive(const fs::path& path, uint64_t limit) {
    Archive archive;
    archive.path = path;
    archive.name = parseArchiveName(path.filename().string());
    archive.contents = readArchive(path, limit);
    archive.history = parseHistory(archive.contents.history);
    archive.events = parseEventLines(archive.contents.events);
    if (archive.name) archive.subject = splitSubject(*archive.name, archive.history);
    return archive;
}

fs::path findArchive(const std::string& wanted, const fs::path& directory) {
    const auto number = parseInteger(wanted);
    if (number && wanted[0] == '-') {
        if (*number == 0) throw UsageError("-1 is the newest archive; there is no -0");
        const std::vector<fs::path> archives = scanCollection(directory).archives;
        const auto index = static_cast<uint64_t>(-(*number + 1));
        if (index < archives.size()) return archives[index];
        throw CommandError("no archive " + wanted + ": there are " +
                           std::to_string(archives.size()) + " in " +
                           printable(directory.string()));
    }
    // operator/ keeps a path that is already absolute.
    for (const fs::path& base : {directory / wanted, fs::path(wanted)}) {
        if (isRegularFile(base)) return base;
        fs::path withSuffix = base.string() + kArchiveSuffix;
        if (isRegularFile(withSuffix)) return withSuffix;
    }
    throw CommandError("no such archive: '" + printable(wanted) + "' (neither in " +
                       printable(directory.string()) + " nor as a path)");
}

}  // namespace android::kavel::tools
