#pragma once

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace android::kavel {

/**
 * Puts a short line together without a format: a record leaves several, and formatting them would
 * cost as much as reading and matching it. Whoever uses it sees to it that kSize is enough.
 */
class LineText {
  public:
    static constexpr size_t kSize = 128;

    LineText& operator<<(std::string_view text) {
        mEnd += text.copy(mEnd, static_cast<size_t>(mText + kSize - mEnd));
        return *this;
    }
    LineText& decimal(int64_t number) { return put(number, 10); }
    /** As %llx does: without a sign. */
    LineText& hex(int64_t number) { return put(static_cast<uint64_t>(number), 16); }

    /** What there is so far, with a NUL behind it. */
    std::string_view text() {
        *mEnd = '\0';
        return {mText, static_cast<size_t>(mEnd - mText)};
    }

  private:
    template <class Number>
    LineText& put(Number number, int base) {
        mEnd = std::to_chars(mEnd, mText + kSize, number, base).ptr;
        return *this;
    }

    char mText[kSize + 1];
    char* mEnd = mText;
};

}  // namespace android::kavel
