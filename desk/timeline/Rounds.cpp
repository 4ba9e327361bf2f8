#include "desk/timeline/Rounds.h"

#include <algorithm>
#include <functional>
#include <string_view>

namespace kaveldesk {

bool RepeatFinder::isRepeat(const Record& record) {
    if (mNext >= mEnd) return false;
    const std::string_view text = textOf(mEvidence, record);
    if (text == textOf(mEvidence, mRecords[mNext])) {
        ++mNext;
        return true;
    }
    // Without a time of its own, a line is only known by its place.
    if (record.messageAt == 0) return false;
    if (mIndex.empty()) buildIndex();
    const size_t hash = std::hash<std::string_view>()(text);
    const auto found = std::lower_bound(mIndex.begin(), mIndex.end(), std::pair(hash, mNext));
    if (found == mIndex.end() || found->first != hash ||
        textOf(mEvidence, mRecords[found->second]) != text) {
        return false;
    }
    mNext = found->second + 1;
    return true;
}

void RepeatFinder::buildIndex() {
    mIndex.reserve(mEnd - mNext);
    for (size_t i = mNext; i < mEnd; ++i) {
        if (mRecords[i].messageAt == 0) continue;
        mIndex.emplace_back(std::hash<std::string_view>()(textOf(mEvidence, mRecords[i])), i);
    }
    std::sort(mIndex.begin(), mIndex.end());
}

}  // namespace kaveldesk
