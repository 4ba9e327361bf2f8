#include "desk/mask/Content.h"

#include <algorithm>
#include <array>
#include <utility>

namespace kaveldesk {

Content::Content(PackedSource::Read read, std::function<std::string()> error, uint64_t limit)
      : mRead(std::move(read)), mError(std::move(error)), mLimit(limit), mBlock(256 << 10, '\0') {
    while (mHead.size() < kHead) {
        const std::string_view block = readBlock();
        if (block.empty()) break;
        mHead += block;
    }
}

std::string_view Content::next() {
    if (!std::exchange(mGaveHead, true) && !mHead.empty()) return mHead;
    return readBlock();
}

std::string_view Content::readBlock() {
    if (!mProblem.empty()) return {};
    const std::ptrdiff_t size = mRead(mBlock.data(), mBlock.size());
    if (size < 0) mProblem = mError();
    if (size <= 0) return {};
    mBytes += static_cast<uint64_t>(size);
    if (mBytes > mLimit) {
        mProblem = "it is too large";
        return {};
    }
    return std::string_view(mBlock).substr(0, static_cast<size_t>(size));
}

bool isMaskable(std::string_view head) {
    using namespace std::string_view_literals;
    constexpr std::array kBinaryStarts = {"\x1f\x8b"sv,
                                          "PK\x03\x04"sv,
                                          "\x7f"
                                          "ELF"sv,
                                          "\x28\xb5\x2f\xfd"sv,
                                          "\xfd"
                                          "7zXZ"sv,
                                          "BZh"sv,
                                          "SQLite format 3"sv};
    for (const std::string_view start : kBinaryStarts) {
        if (head.substr(0, start.size()) == start) return false;
    }
    constexpr size_t kTarMagic = 257;
    if (head.size() > kTarMagic && head.substr(kTarMagic, 5) == "ustar") return false;
    const auto control =
            static_cast<size_t>(std::count_if(head.begin(), head.end(), [](unsigned char c) {
                return c < 0x20 && c != '\t' && c != '\n' && c != '\r' && c != '\f' && c != 0x1b;
            }));
    return control * 20 <= head.size();  // logs can have some bytes of a crash in them
}

}  // namespace kaveldesk
