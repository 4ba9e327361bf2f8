#include "desk/mask/KnownValues.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "desk/parse/Text.h"

namespace kaveldesk {
namespace {

constexpr size_t kLongest = 128;  // bounds the sizes of one prefix
constexpr size_t kLongNumber = 10;
constexpr unsigned kHashBits = 16;

bool isDistinct(MaskKind kind, const std::string& value) {
    const auto digits = static_cast<size_t>(std::count_if(value.begin(), value.end(), isDigit));
    const bool has_letter = std::any_of(value.begin(), value.end(), isLetter);
    if (kind == MaskKind::Host) return value.find('.') != std::string::npos;
    return has_letter ? digits > 0 : digits >= kLongNumber;
}

uint64_t prefix(const char* text) {
    uint64_t bytes = 0;
    std::memcpy(&bytes, text, sizeof(bytes));
    return bytes;
}

size_t bit(uint64_t prefix) {
    const uint64_t mixed = prefix ^ (prefix >> 32U) ^ (prefix >> 16U) ^ (prefix >> 45U);
    return mixed & ((1U << kHashBits) - 1);
}

}  // namespace

KnownValues::KnownValues(const Pseudonyms& pseudonyms) : mMayStart(size_t{1} << kHashBits) {
    static_assert(kPrefix == sizeof(uint64_t));
    for (const MaskKindRow& row : kMaskKinds) {
        if (!row.repeats) continue;
        for (const std::string* value : pseudonyms.values(row.kind)) {
            if (value->size() < kPrefix || value->size() > kLongest) continue;
            if (!isDistinct(row.kind, *value) || !mKinds.emplace(*value, row.kind).second) continue;
            std::vector<size_t>& sizes = mSizes[prefix(value->data())];
            const auto place =
                    std::lower_bound(sizes.begin(), sizes.end(), value->size(), std::greater<>());
            if (place == sizes.end() || *place != value->size()) sizes.insert(place, value->size());
            mMayStart[bit(prefix(value->data()))] = true;
        }
    }
}

std::vector<MaskSpan> KnownValues::find(std::string_view text) const {
    std::vector<MaskSpan> spans;
    if (mKinds.empty()) return spans;
    for (size_t at = 0; at + kPrefix <= text.size(); ++at) {
        if (at > 0 && isWord(text[at - 1])) continue;
        const uint64_t start = prefix(text.data() + at);
        if (!mMayStart[bit(start)]) continue;
        const auto sizes = mSizes.find(start);
        if (sizes == mSizes.end()) continue;
        for (const size_t size : sizes->second) {
            if (size > text.size() - at) continue;
            if (at + size < text.size() && isWord(text[at + size])) continue;
            const auto kind = mKinds.find(std::string(text.substr(at, size)));
            if (kind == mKinds.end()) continue;
            spans.push_back({at, size, kind->second});
            at += size - 1;
            break;
        }
    }
    return spans;
}

}  // namespace kaveldesk
