#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "desk/mask/Kinds.h"

namespace kaveldesk {

/** A value in a text. */
struct MaskSpan {
    size_t at;
    size_t size;
    MaskKind kind;
};

/**
 * The values that the rules recognise in @p text, any bytes, in their order and without overlaps.
 * No value goes over the end of a line. Linear in the size of the text.
 */
std::vector<MaskSpan> findValues(std::string_view text);

}  // namespace kaveldesk
