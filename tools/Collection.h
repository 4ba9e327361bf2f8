#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/ArchiveName.h"
#include "tools/ArchiveReader.h"
#include "tools/EventLines.h"

namespace android::kavel::tools {

/** The archives of a collection directory, by name only. */
struct Collection {
    std::vector<std::filesystem::path> archives;  ///< newest first, so the Nth is "-N"
    size_t passedOver = 0;                        ///< entries that are no archives of ours
};

/** One archive: what its name says and what it holds. */
struct Archive {
    std::filesystem::path path;
    std::optional<LogName> name;  ///< nullopt for a file called otherwise
    Subject subject;              ///< empty if there is no name
    std::vector<HistoryLine> history;
    EventLines events;
    ArchiveContents contents;
};

/** @throws CommandError where @p directory cannot be read */
Collection scanCollection(const std::filesystem::path& directory);

/** @param limit  how many bytes of the unpacked archive are read at most */
Archive loadArchive(const std::filesystem::path& path, uint64_t limit);

/**
 * The archive that the user means: "-N" is the Nth newest of @p directory, anything else a file
 * name in there or a path, with or without ".tar.gz".
 *
 * @throws CommandError where there is none, UsageError for "-0"
 */
std::filesystem::path findArchive(const std::string& wanted,
                                  const std::filesystem::path& directory);

}  // namespace android::kavel::tools
