#include "desk/mask/Pseudonyms.h"

#include <stdexcept>

#include <fmt/core.h>

namespace kaveldesk {

size_t Pseudonyms::number(MaskKind kind, std::string_view value) {
    auto& numbers = mNumbers[static_cast<size_t>(kind)];
    auto& values = mValues[static_cast<size_t>(kind)];
    const auto [it, added] = numbers.try_emplace(normalValue(kind, value), values.size() + 1);
    if (added) {
        constexpr size_t kOverhead = 128;  // of the map's node, about
        mBytes += it->first.size() + kOverhead;
        if (mBytes > kMaxBytes) {
            throw std::runtime_error("The archives have more different values than can be masked.");
        }
        values.push_back(&it->first);
    }
    return it->second;
}

size_t Pseudonyms::size() const {
    size_t size = 0;
    for (const auto& values : mValues) size += values.size();
    return size;
}

std::string pseudonym(MaskKind kind, size_t number) {
    return fmt::format("{}-{}", maskKindRow(kind).name, number);
}

}  // namespace kaveldesk
