#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "desk/read/PackedSource.h"

namespace kaveldesk {

/** The content of one file, block by block, up to a limit. */
class Content {
  public:
    /** @p error says why a read failed. */
    Content(PackedSource::Read read, std::function<std::string()> error, uint64_t limit);

    /** The first bytes, which say what the file is. */
    std::string_view head() const { return std::string_view(mHead).substr(0, kHead); }
    /** The next block, from the first byte on, valid until the next call; empty at the end. */
    std::string_view next();
    /** Bytes that were read. */
    uint64_t bytes() const { return mBytes; }
    /** Why the content ends too early; empty if it does not. */
    const std::string& problem() const { return mProblem; }

  private:
    static constexpr size_t kHead = 64 << 10;

    std::string_view readBlock();

    PackedSource::Read mRead;
    std::function<std::string()> mError;
    uint64_t mLimit;
    uint64_t mBytes = 0;
    std::string mBlock;
    std::string mHead;
    bool mGaveHead = false;
    std::string mProblem;
};

/** Whether a file that starts with @p head is text: no archive or program, hardly any control
 * bytes. */
bool isMaskable(std::string_view head);

}  // namespace kaveldesk
