#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace android::kavel::tools {

/** What is wrong with an archive. */
struct Verification {
    uint64_t fileCount = 0;
    std::string broken;  ///< why it cannot be read to its end; empty if it can
    std::vector<std::string>
            missing;                 ///< files that a mask or event type promises, with the reason
    std::vector<std::string> empty;  ///< promised files that have no content
    std::vector<std::string> malformedEvents;  ///< lines of kavel_events.txt that are not events

    bool isGood() const {
        return broken.empty() && missing.empty() && empty.empty() && malformedEvents.empty();
    }
};

/**
 * Reads the archive @p path to its end, up to kArchiveLimit. Compares the files of each log folder
 * in it with those that the masks and types of its events promise.
 */
Verification verifyArchive(const std::filesystem::path& path);

}  // namespace android::kavel::tools
