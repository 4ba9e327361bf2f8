#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace android::kavel::tools {

struct ArchivedFile {
    std::string name;  ///< below the log folder where the archive bears the folder's name
    uint64_t size;     ///< in bytes
};

/** What an archive holds, as far as it could be read. */
struct ArchiveContents {
    uint64_t archiveSize = 0;         ///< of the packed file, in bytes
    uint64_t fileCount = 0;           ///< all files, those not listed included
    std::vector<ArchivedFile> files;  ///< the first kMaxListedFiles of them
    std::string history;              ///< kavel_history.txt, at most its first kMaxText bytes
    std::string extraInfo;            ///< extraInfo.txt, likewise
    bool hasExtraInfo = false;
    std::string broken;  ///< why it does not read back; empty for a sound archive
};

inline constexpr size_t kMaxListedFiles = 4096;
inline constexpr size_t kMaxText = size_t{64} * 1024;

/**
 * Reads a .tar.gz from end to end, checksum included, in bounded memory. Nothing is unpacked.
 * An archive that cannot be read is a result (see @c broken), not an error.
 */
ArchiveContents readArchive(const std::filesystem::path& path);

}  // namespace android::kavel::tools
