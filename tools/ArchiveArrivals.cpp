#include "tools/ArchiveArrivals.h"

#include <sys/inotify.h>

#include <utility>

namespace android::kavel::tools {
namespace {

// The daemon's mv renames the archive. If the directory is on another file system, mv copies it,
// and it is complete when the copy is closed.
constexpr uint32_t kComplete = IN_MOVED_TO | IN_CLOSE_WRITE;

}  // namespace

ArchiveArrivals::ArchiveArrivals(FolderWatch& watch, std::filesystem::path directory)
      : mDirectory(std::move(directory)) {
    watch.add(mDirectory, kComplete);
}

std::vector<Archive> ArchiveArrivals::among(const std::vector<FolderChange>& changes,
                                            const Output& output) const {
    std::vector<Archive> archives;
    for (const FolderChange& change : changes) {
        if (change.folder.empty()) {
            output.note() << "too many changes at once: some archives may not be shown\n";
        }
        std::error_code error;
        const std::filesystem::path path = mDirectory / change.name;
        if (change.folder != mDirectory || (change.events & kComplete) == 0 ||
            !parseArchiveName(change.name) || !std::filesystem::is_regular_file(path, error)) {
            continue;
        }
        archives.push_back(loadArchive(path, kSearchLimit));
    }
    return archives;
}

}  // namespace android::kavel::tools
