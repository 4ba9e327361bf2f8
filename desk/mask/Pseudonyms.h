#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "desk/mask/Kinds.h"

namespace kaveldesk {

/** The values seen so far, each with its number. The same value always has the same pseudonym. */
class Pseudonyms {
  public:
    /** Bound for hostile archives, over all values. */
    static constexpr size_t kMaxBytes = 64 << 20;

    Pseudonyms() = default;
    Pseudonyms(Pseudonyms&&) = default;
    Pseudonyms& operator=(Pseudonyms&&) = default;

    /**
     * The number of @p value among those of its kind, from 1. A new value gets the next one. Throws
     * std::runtime_error if the values would exceed kMaxBytes.
     */
    size_t number(MaskKind kind, std::string_view value);

    /** The values of a kind in normal form, in the order of their numbers. */
    const std::vector<const std::string*>& values(MaskKind kind) const {
        return mValues[static_cast<size_t>(kind)];
    }
    /** The number of values of all kinds. */
    size_t size() const;

  private:
    std::array<std::unordered_map<std::string, size_t>, kMaskKinds.size()> mNumbers;
    std::array<std::vector<const std::string*>, kMaskKinds.size()> mValues;  // into mNumbers
    size_t mBytes = 0;
};

/** The text that replaces value @p number of a kind, for example "mail-1". */
std::string pseudonym(MaskKind kind, size_t number);

}  // namespace kaveldesk
