#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace android::kavel::tools {

struct ArchivedFile {
    std::string name;  ///< relative to the log folder if that has the archive's name
    uint64_t size;     ///< in bytes
};

/** Contents of an archive, as far as it was read. */
struct ArchiveContents {
    uint64_t archiveSize = 0;         ///< of the packed file, in bytes
    uint64_t fileCount = 0;           ///< all files, including those that are not listed
    std::vector<ArchivedFile> files;  ///< the first kMaxListedFiles files
    std::string history;              ///< kavel_history.txt, at most the first kMaxText bytes
    std::string extraInfo;            ///< extraInfo.txt, at most the first kMaxText bytes
    bool hasExtraInfo = false;
    std::string events;          ///< kavel_events.txt, then those of sub-folders; whole lines only
    bool hasMoreEvents = false;  ///< there is more text than kMaxEventText
    bool isPartial = false;      ///< the limit was reached; the rest of the archive is unknown
    std::string broken;          ///< why the archive cannot be read; empty if it can
};

inline constexpr size_t kMaxListedFiles = 4096;
inline constexpr size_t kMaxText = size_t{64} * 1024;
inline constexpr size_t kMaxEventText = size_t{256} * 1024;

/**
 * Reads a .tar.gz to its end, including the checksum, in bounded memory. Unpacks nothing to disk.
 * If the archive cannot be read, that is part of the result (see @c broken), not an error.
 *
 * @param limit  maximum number of bytes of the tar stream to read
 */
ArchiveContents readArchive(const std::filesystem::path& path, uint64_t limit);

}  // namespace android::kavel::tools
