#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>

#include "desk/mask/KnownValues.h"
#include "desk/mask/Pseudonyms.h"

namespace kaveldesk {

/** How often values of one kind are replaced. */
struct MaskCount {
    std::unordered_set<size_t> values;  // numbers of the pseudonyms
    uint64_t places = 0;
    uint64_t files = 0;
};
using MaskCounts = std::array<MaskCount, kMaskKinds.size()>;

/** Gives pseudonyms to the values that the rules recognise in @p text. */
void learnValues(std::string_view text, Pseudonyms* pseudonyms);

/** Returns @p text with pseudonyms in place of values, and counts them (but not files). */
std::string maskText(std::string_view text, const KnownValues& known, Pseudonyms* pseudonyms,
                     MaskCounts* counts);

}  // namespace kaveldesk
