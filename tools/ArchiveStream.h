#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "tools/GzipFile.h"
#include "tools/TarReader.h"

namespace android::kavel::tools {

/**
 * The members of a .tar.gz in their order, in bounded memory. An archive that cannot be read is no
 * error of the constructor: it has no members, and finish() says why. Not thread-safe.
 */
class ArchiveStream {
  public:
    /** @param limit  maximum number of bytes of the tar stream to read */
    ArchiveStream(const std::filesystem::path& path, uint64_t limit);
    ArchiveStream(const ArchiveStream&) = delete;
    ArchiveStream& operator=(const ArchiveStream&) = delete;

    /** Returns the size of the packed file, in bytes; 0 if it cannot be opened. */
    uint64_t archiveSize() const { return mSize; }

    /**
     * Returns the next member that is no directory, with its name relative to the log folder if
     * that has the archive's name; nullopt at the end, at the limit or on error.
     */
    std::optional<TarMember> next();
    /** Reads up to @p size bytes of the member's data. Returns fewer only at its end or on error.
     */
    size_t read(char* buffer, size_t size);

    /**
     * Reads the rest, because the checksum is at the end. Returns why the archive cannot be read;
     * empty if it can, or if the limit was reached.
     */
    std::string finish();
    /** Whether the archive has more content than the limit. Call after finish(). */
    bool isPartial() const { return mFile && mFile->isBeyondLimit(); }

  private:
    const std::string mFolder;
    uint64_t mSize = 0;
    std::string mCannotOpen;
    std::optional<GzipFile> mFile;
    TarReader mReader;
};

}  // namespace android::kavel::tools
