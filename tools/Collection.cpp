#include "tools/Collection.h"

#include <sys/stat.h>

#include <algorithm>
#include <system_error>
#include <tuple>

#include "dump/LogFolderName.h"
#include "tools/ArchiveTime.h"
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
    Collection collection;
    std::error_code error;
    fs::directory_iterator entry(directory, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const fs::path& path = entry->path();
        auto name = parseArchiveName(path.filename().string());
        struct stat status = {};
        if (name && stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
            const int64_t utcMs = archiveTime(*name).utcMs;
            const auto size = static_cast<uint64_t>(status.st_size);
            collection.archives.push_back({path, std::move(*name), utcMs, size});
        } else {
            ++collection.passedOver;
        }
    }
    if (error) cannotRead(directory, error);

    const auto key = [](const ArchiveEntry& each) {
        return std::tie(each.utcMs, each.name.folderId, each.name.sequence, each.name.folder);
    };
    std::sort(collection.archives.begin(), collection.archives.end(),
              [&](const ArchiveEntry& a, const ArchiveEntry& b) { return key(a) > key(b); });
    return collection;
}

Archive archiveByName(const ArchiveEntry& entry) {
    Archive archive;
    archive.path = entry.path;
    archive.name = entry.name;
    archive.subject = splitSubject(entry.name, {});
    archive.size = entry.size;
    return archive;
}

Archive loadArchive(const fs::path& path, uint64_t limit) {
    Archive archive;
    archive.path = path;
    archive.name = parseArchiveName(path.filename().string());
    archive.isRead = true;
    archive.contents = readArchive(path, limit);
    archive.size = archive.contents.archiveSize;
    archive.history = parseHistory(archive.contents.history);
    archive.events = parseEventLines(archive.contents.events);
    if (archive.name) archive.subject = splitSubject(*archive.name, archive.history);
    return archive;
}

fs::path findArchive(const std::string& wanted, const fs::path& directory) {
    const auto number = parseInteger(wanted);
    if (number && wanted[0] == '-') {
        if (*number == 0) throw UsageError("-1 is the newest archive; there is no -0");
        const std::vector<ArchiveEntry> archives = scanCollection(directory).archives;
        const auto index = static_cast<uint64_t>(-(*number + 1));
        if (index < archives.size()) return archives[index].path;
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
