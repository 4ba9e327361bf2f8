#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/ArchiveName.h"
#include "tools/ArchiveReader.h"
#include "tools/EventLines.h"

namespace android::kavel::tools {

/** Maximum number of unpacked bytes that are read of an archive on which a command works. */
inline constexpr uint64_t kArchiveLimit = uint64_t{4} << 30;
/** The same for commands that read many archives: one may unpack to a thousand times its size. */
inline constexpr uint64_t kSearchLimit = uint64_t{64} << 20;

/** An archive in the collection directory, without its contents. */
struct ArchiveEntry {
    std::filesystem::path path;
    LogName name;
    int64_t utcMs;  ///< see ArchiveTime
    uint64_t size;  ///< in bytes
};

/** The archives in a collection directory. */
struct Collection {
    std::vector<ArchiveEntry> archives;  ///< newest first: the Nth is "-N"
    size_t passedOver = 0;               ///< number of other entries
};

/** One archive: the parts of its name, and its contents if they were read. */
struct Archive {
    std::filesystem::path path;
    std::optional<LogName> name;  ///< nullopt if the file name has another form
    Subject subject;              ///< empty if name is nullopt
    uint64_t size = 0;            ///< of the packed file, in bytes
    bool isRead = false;          ///< whether the fields below are known
    std::vector<HistoryLine> history;
    EventLines events;
    ArchiveContents contents;
};

/** @throws CommandError if @p directory cannot be read */
Collection scanCollection(const std::filesystem::path& directory);

/** Returns what the name and the size say. */
Archive archiveByName(const ArchiveEntry& entry);

/** Reads the contents. @param limit  maximum number of unpacked bytes to read */
Archive loadArchive(const std::filesystem::path& path, uint64_t limit);

/**
 * Returns the archive that the user means: "-N" is the Nth newest one in @p directory. Anything
 * else is a path or a file name in @p directory, with or without ".tar.gz".
 *
 * @throws CommandError if there is no such archive, UsageError for "-0"
 */
std::filesystem::path findArchive(const std::string& wanted,
                                  const std::filesystem::path& directory);

}  // namespace android::kavel::tools
