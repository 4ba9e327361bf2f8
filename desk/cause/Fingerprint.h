#pragma once

#include <string>
#include <vector>

namespace kaveldesk {

/** Version of the rules for signatures. Fingerprints of different versions do not compare. */
inline constexpr int kFingerprintVersion = 2;

/** FNV-1a (64 bits) of the version and of @p signature, as 16 hexadecimal digits. */
std::string fingerprintOf(const std::vector<std::string>& signature);

}  // namespace kaveldesk
