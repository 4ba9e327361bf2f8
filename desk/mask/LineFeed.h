#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace kaveldesk {

/** Cuts a stream of blocks into pieces of whole lines. Bounded: lines are cut off at kMaxLine. */
class LineFeed {
  public:
    static constexpr size_t kMaxLine = 4 << 20;

    /** @p piece gets whole lines; the last one of the stream can lack its newline. */
    explicit LineFeed(std::function<void(std::string_view)> piece) : mPiece(std::move(piece)) {}

    void add(std::string_view block);
    /** At the end of the stream. */
    void end();
    /** Bytes that are left out because their line was too long; a note is in their place. */
    uint64_t leftOut() const { return mAllLeftOut; }

  private:
    void cutOff();

    std::function<void(std::string_view)> mPiece;
    std::string mRest;      // of a line that has no newline yet
    uint64_t mLeftOut = 0;  // of this line
    uint64_t mAllLeftOut = 0;
};

}  // namespace kaveldesk
