#pragma once

#include <zlib.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kaveldesk {

/**
 * The bytes of a file, unpacked if it is packed with gzip. A damaged or cut file gives all bytes up
 * to the damage: libarchive's own filter would drop the last block of them.
 */
class PackedSource {
  public:
    /** Reads up to @p size bytes; 0 at the end, and below 0 if they cannot be read. */
    using Read = std::function<std::ptrdiff_t(char* buffer, size_t size)>;

    explicit PackedSource(Read read);
    ~PackedSource();
    PackedSource(const PackedSource&) = delete;
    PackedSource& operator=(const PackedSource&) = delete;

    /** Returns the next bytes, valid until the next call; empty at the end. */
    std::string_view next();

    /** Why the bytes ended early; empty if they did not. */
    const std::string& error() const { return mError; }

  private:
    /** Returns false at the end of the file. */
    bool fill();
    std::string_view inflateNext();

    Read mRead;
    std::vector<char> mPacked;
    std::string_view mInput;  // what of mPacked is not used yet
    std::vector<char> mPlain;
    z_stream mStream = {};
    bool mIsPacked = false;
    bool mIsInMember = true;  // gzip files can have several
    bool mIsAtEnd = false;
    std::string mError;
};

}  // namespace kaveldesk
