#pragma once

#include <android-base/unique_fd.h>
#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace android::kavel::tools {

/** The unpacked bytes of a gzip file, up to a limit. Not thread-safe. */
class GzipFile {
  public:
    /** @param limit  how many unpacked bytes are read at most */
    GzipFile(base::unique_fd fd, uint64_t limit);
    ~GzipFile();
    GzipFile(const GzipFile&) = delete;
    GzipFile& operator=(const GzipFile&) = delete;

    /** Reads up to @p size bytes; fewer only at the end, at the limit and on error. */
    size_t read(char* buffer, size_t size);

    /** Reads what is left, because only the end of the file has the checksum. */
    void drain();

    /** Whether the file goes on behind the limit. */
    bool isBeyondLimit() const { return mIsBeyondLimit; }

    /** Why the file cannot be read to its end; empty if it can, as far as it was read. */
    std::string error() const;

  private:
    gzFile mFile = nullptr;
    uint64_t mLeft;
    bool mIsBeyondLimit = false;
};

}  // namespace android::kavel::tools
