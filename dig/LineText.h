#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace android::kavel {

/**
 * Builds a short line without a format string: each raw event causes several lines, and formatting
 * them would take as long as reading and matching it. The caller must make sure that kSize is
 * enough.
 */
class LineText {
  public:
    static constexpr size_t kSize = 128;

    LineText& operator<<(std::string_view text) {
        mEnd += text.copy(mEnd, static_cast<size_t>(mText + kSize - mEnd));
        return *this;
    }
    LineText& decimal(int64_t number) {
        if (number >= 0) return put<10>(static_cast<uint64_t>(number));
        return (*this << "-").put<10>(~static_cast<uint64_t>(number) + 1);
    }
    /** Like %llx: without a sign. */
    LineText& hex(int64_t number) { return put<16>(static_cast<uint64_t>(number)); }

    /** Returns the text so far, followed by a NUL. */
    std::string_view text() {
        *mEnd = '\0';
        return {mText, static_cast<size_t>(mEnd - mText)};
    }

  private:
    /** Not std::to_chars, which in Android 14 writes zeros before some numbers from 10^8 up. */
    template <unsigned base>
    LineText& put(uint64_t number) {
        char digits[20];  // of 2^64 - 1
        size_t start = sizeof(digits);
        do {
            digits[--start] = "0123456789abcdef"[number % base];
            number /= base;
        } while (number != 0);
        return *this << std::string_view(digits + start, sizeof(digits) - start);
    }

    char mText[kSize + 1];
    char* mEnd = mText;
};

}  // namespace android::kavel
