#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tools/ArchiveName.h"
#include "tools/ArchiveReader.h"
#include "tools/EventLines.h"

namespace android::kavel::tools {

/** The archives in a collection directory, by name only. */
struct Collection {
    std::vector<std::filesystem::path> archives;  ///< newest first: the Nth is "-N"
    size_t passedOver = 0;                        ///< number of other entries
};

/** One archive: the parts of its name and its contents. */
struct Archive {
    std::filesystem::path path;
    std::optional<LogName> name;  ///< nullopt if the file name has another form
    Subject subject;              ///< empty if name is nullopt
    std::vector<HistoryLine> history;
    EventLines events;
    ArchiveContents contents;
};

/** @throws CommandError if @p directory cannot be read */
Collection scanCollection(const std::filesystem::path& directory);

/** @param limit  maximum number of unpacked bytes to read */
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
