#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace android::kavel::tools {

struct ArchivedFile {
    std::string name;  ///< below the log folder if the archive bears the folder's name
    uint64_t size;     ///< in bytes
};

/** What an archive holds, as far as it was read. */
struct ArchiveContents {
    uint64_t archiveSize = 0;         ///< of the packed file, in bytes
    uint64_t fileCount = 0;           ///< all files, those not listed included
    std::vector<ArchivedFile> files;  ///< the first kMaxListedFiles of them
    std::string history;              ///< kavel_history.txt, at most its first kMaxText bytes
    std::string extraInfo;            ///< extraInfo.txt, likewise
    bool hasExtraInfo = false;
    std::string events;          ///< kavel_events.txt, then those of the sub-folders; whole lines
    bool hasMoreEvents = false;  ///< there are more lines than kMaxEventText holds
    bool isPartial = false;      ///< it unpacks to more than was read: nothing is known of the rest
    std::string broken;          ///< why it does not read back; empty for a sound archive
};

inline constexpr size_t kMaxListedFiles = 4096;
inline constexpr size_t kMaxText = size_t{64} * 1024;
inline constexpr size_t kMaxEventText = size_t{256} * 1024;

/**
 * Reads a .tar.gz from end to end, checksum included, in bounded memory. Nothing is unpacked.
 * An archive that cannot be read is a result (see @c broken), not an error.
 *
 * @param limit  how many bytes of the tar stream are read at most
 */
ArchiveContents readArchive(const std::filesystem::path& path, uint64_t limit);

}  // namespace android::kavel::tools
