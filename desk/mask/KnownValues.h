#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "desk/mask/FindValues.h"
#include "desk/mask/Pseudonyms.h"

namespace kaveldesk {

/**
 * Finds values that the rules have recognised somewhere, at places where they have no context: a
 * serial number in a path, a phone number in an app's log line. Only values that are hardly
 * anything else: long ones with letters and digits, long numbers, host names with a domain.
 */
class KnownValues {
  public:
    explicit KnownValues(const Pseudonyms& pseudonyms);

    /** The known values in @p text as whole words, in their order and without overlaps. */
    std::vector<MaskSpan> find(std::string_view text) const;

  private:
    static constexpr size_t kPrefix = 8;  // values are looked up by as many first characters

    std::unordered_map<std::string, MaskKind> mKinds;
    std::unordered_map<uint64_t, std::vector<size_t>> mSizes;  // by prefix, longest first
    std::vector<bool> mMayStart;                               // by hash of a prefix
};

}  // namespace kaveldesk
