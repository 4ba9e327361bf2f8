#include "dump/CollectionDirectory.h"

#include <filesystem>
#include <optional>

#include "dump/LogFolderName.h"
#include "dump/Pack.h"
#include "event/ReportJournal.h"
#include "platform/ShellQuote.h"

namespace fs = std::filesystem;

namespace android::kavel {
namespace {

bool isThere(const fs::path& path) {
    std::error_code gone;
    return fs::exists(fs::symlink_status(path, gone));
}

/**
 * Returns the target of the move for the archive of the folder @p name: the directory if the
 * archive's own name is free, else a path with a free name; nullopt if there is none. The name
 * stays free until the move: names contain the time of their event in nanoseconds, so only an
 * archive from before a restart of the daemon can have the same one.
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
    // A file or a dangling link at the path stays as it is.
    if (!isThere(kArchiveDirectory)) fs::create_directories(kArchiveDirectory, error);
    return fs::is_directory(kArchiveDirectory, error);
}

namespace {

/** Moves the archive. Returns a text for an error line; stores the archive's name. */
std::string move(const char* prefix, const std::string& folder, std::string* name) {
    if (!ensureCollectionDirectory()) return std::string(kArchiveDirectory) + " cannot be used";
    const std::optional<std::string> place = freePlace(fs::path(folder).filename());
    if (!place) return "no name is free";
    const int status = logAndRun(
            prefix, "mv " + shellQuote(folder) + kArchiveSuffix + " " + shellQuote(*place));
    const fs::path target = *place;
    *name = target == kArchiveDirectory ? archiveName(fs::path(folder).filename().native(), 1)
                                        : target.filename().native();
    return status == 0 ? "" : "mv failed, status is: " + std::to_string(status);
}

}  // namespace

std::string moveToCollection(const char* prefix, const std::string& folder) {
    std::error_code error;
    const uintmax_t size = fs::file_size(folder + kArchiveSuffix, error);
    std::string name;
    std::string problem = move(prefix, folder, &name);
    if (problem.empty()) {
        ReportJournal::instance().notePacked(folder, name, error ? 0 : size);
    } else {
        ReportJournal::instance().noteFolder(Fate::NotMoved, folder, problem);
    }
    return problem;
}

}  // namespace android::kavel
