#include "dump/CollectionDirectory.h"

#include <filesystem>
#include <optional>

#include "dump/LogFolderName.h"
#include "dump/Pack.h"
#include "platform/ShellQuote.h"

namespace fs = std::filesystem;

namespace android::kavel {
namespace {

bool isThere(const fs::path& path) {
    std::error_code gone;
    return fs::exists(fs::symlink_status(path, gone));
}

/**
 * Where to move the archive of the folder @p name: the directory if its own name is free. The
 * answer holds until the move: names have the time of their event in nanoseconds, so that only what
 * an earlier life of the daemon left has the name of another archive.
 */
std::optional<std::string> freePlace(const std::string& name) {
    if (!isThere(fs::path(kArchiveDirectory) / archiveName(name, 1))) return kArchiveDirectory;
    for (uint32_t sequence = 2; sequence <= kMaxArchiveSequence; ++sequence) {
        const fs::path place = fs::path(kArchiveDirectory) / archiveName(name, sequence);
        if (!isThere(place)) return place;
    }
    return std::nullopt;
}

}  // namespace

bool ensureCollectionDirectory() {
    std::error_code error;
    // If the path is a file or a dangling link, that is left alone.
    if (!isThere(kArchiveDirectory)) fs::create_directories(kArchiveDirectory, error);
    return fs::is_directory(kArchiveDirectory, error);
}

std::string moveToCollection(const char* prefix, const std::string& folder) {
    if (!ensureCollectionDirectory()) return std::string(kArchiveDirectory) + " cannot be used";
    const std::optional<std::string> place = freePlace(fs::path(folder).filename());
    if (!place) return "no name is free";
    const int status = logAndRun(
            prefix, "mv " + shellQuote(folder) + kArchiveSuffix + " " + shellQuote(*place));
    return status == 0 ? "" : "mv failed, status is: " + std::to_string(status);
}

}  // namespace android::kavel
