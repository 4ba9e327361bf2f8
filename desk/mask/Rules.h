#pragma once

#include <string>
#include <vector>

#include "desk/mask/Accept.h"
#include "desk/mask/Kinds.h"

namespace kaveldesk {

/** How a value is recognised: a pattern for what is around it, one for itself, and a check. */
struct MaskRule {
    MaskKind kind;
    std::string before;  // pattern of the text before the value; empty for any
    std::string value;
    std::string behind;  // pattern of the text behind the value; empty for any
    bool (*accept)(const FoundValue&);
    // Pattern of a further value, in brackets, that follows directly; empty if there is none.
    std::string next = {};
};

/** All rules. Where the values of two overlap, the one of the earlier rule is masked. */
const std::vector<MaskRule>& maskRules();

}  // namespace kaveldesk
