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
    /** @param limit  maximum number of unpacked bytes to read */
    GzipFile(base::unique_fd fd, uint64_t limit);
    ~GzipFile();
    GzipFile(const GzipFile&) = delete;
    GzipFile& operator=(const GzipFile&) = delete;

    /** Reads up to @p size bytes. Returns fewer only at the end, at the limit or on error. */
    size_t read(char* buffer, size_t size);

    /** Reads the rest of the file, because the checksum is at the end. */
    void drain();

    /** Whether there is more data after the limit. */
    bool isBeyondLimit() const { return mIsBeyondLimit; }

    /** Why the file cannot be read to its end; empty if no error has occurred so far. */
    std::string error() const;

  private:
    gzFile mFile = nullptr;
    uint64_t mLeft;
    bool mIsBeyondLimit = false;
};

}  // namespace android::kavel::tools
