#pragma once

#include <map>
#include <string>
#include <vector>

#include "desk/store/Store.h"

namespace kaveldesk {

struct KnownFingerprint {
    std::string kind;
    std::string signature;
    std::string headline;
};

/** What the store knows about @p fingerprints. */
std::map<std::string, KnownFingerprint> knownFingerprints(
        Store& store, const std::vector<std::string>& fingerprints);

/** The text in a value; empty if it has none. */
std::string textOf(const Value& value);
/** The integer in a value; 0 if it has none. */
int64_t integerOf(const Value& value);

}  // namespace kaveldesk
