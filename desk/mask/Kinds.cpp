#include "desk/mask/Kinds.h"

#include <algorithm>
#include <cctype>

namespace kaveldesk {

std::string normalValue(MaskKind kind, std::string_view value) {
    std::string normal(value);
    switch (kind) {
        case MaskKind::Mac:
        case MaskKind::Ip:
        case MaskKind::Mail:
        case MaskKind::Host:
            for (char& c : normal)
                c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
            break;
        case MaskKind::Phone:
            normal.erase(
                    std::remove_if(normal.begin(), normal.end(),
                                   [](unsigned char c) { return c != '+' && !std::isdigit(c); }),
                    normal.end());
            break;
        default:
            break;
    }
    return normal;
}

bool isPseudonym(std::string_view text) {
    const size_t dash = text.rfind('-');
    if (dash == std::string_view::npos || dash + 1 == text.size()) return false;
    const std::string_view name = text.substr(0, dash);
    const std::string_view number = text.substr(dash + 1);
    return number.find_first_not_of("0123456789") == std::string_view::npos &&
           std::any_of(kMaskKinds.begin(), kMaskKinds.end(),
                       [&](const MaskKindRow& row) { return row.name == name; });
}

}  // namespace kaveldesk
