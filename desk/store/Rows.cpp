#include "desk/store/Rows.h"

#include <charconv>

namespace kaveldesk {

int64_t idOf(std::string_view hash) {
    uint64_t bits = 0;
    const std::string_view start = hash.substr(0, 16);
    std::from_chars(start.data(), start.data() + start.size(), bits, 16);
    return static_cast<int64_t>(bits >> 1U);
}

}  // namespace kaveldesk
