#pragma once

#include <filesystem>
#include <vector>

#include "tools/Collection.h"
#include "tools/CommandLine.h"
#include "tools/FolderWatch.h"

namespace android::kavel::tools {

/** Finds the archives that are complete among the changes of the collection directory. */
class ArchiveArrivals {
  public:
    /** Adds @p directory to @p watch. @throws CommandError if it cannot be watched */
    ArchiveArrivals(FolderWatch& watch, std::filesystem::path directory);

    /** Returns the new archives, read up to kSearchLimit. Notes on @p output if some were lost. */
    std::vector<Archive> among(const std::vector<FolderChange>& changes,
                               const Output& output) const;

  private:
    const std::filesystem::path mDirectory;
};

}  // namespace android::kavel::tools
