#include "tools/Suggestion.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace android::kavel::tools {
namespace {

constexpr size_t kMaxWord = 64;  // bounds the time for a long word; no name is so long

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/** Returns the number of characters to insert, remove, replace or swap with their neighbours. */
size_t editDistance(std::string_view a, std::string_view b) {
    const auto isSame = [&](size_t i, size_t j) { return lower(a[i]) == lower(b[j]); };
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    std::vector<size_t> above;       // the row before
    std::vector<size_t> twiceAbove;  // the one before that
    for (size_t i = 0; i < a.size(); ++i) {
        twiceAbove = std::exchange(above, row);
        row[0] = i + 1;
        for (size_t j = 0; j < b.size(); ++j) {
            const size_t replaced = above[j] + (isSame(i, j) ? 0 : 1);
            row[j + 1] = std::min({replaced, row[j] + 1, above[j + 1] + 1});
            const bool isSwap = i > 0 && j > 0 && isSame(i, j - 1) && isSame(i - 1, j);
            if (isSwap) row[j + 1] = std::min(row[j + 1], twiceAbove[j - 1] + 1);
        }
    }
    return row.back();
}

}  // namespace

std::string didYouMean(std::string_view word, const std::vector<std::string>& names) {
    if (word.size() > kMaxWord) return "";
    std::string_view best;
    size_t bestDistance = SIZE_MAX;
    for (const std::string& name : names) {
        const size_t distance = editDistance(word, name);
        // A third of the characters may differ, so that a short word does not match everything.
        const size_t limit = std::max<size_t>(1, std::min(word.size(), name.size()) / 3);
        if (distance > limit || distance >= bestDistance) continue;
        bestDistance = distance;
        best = name;
    }
    return best.empty() ? "" : " (did you mean '" + std::string(best) + "'?)";
}

}  // namespace android::kavel::tools
