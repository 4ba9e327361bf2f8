#include "desk/cause/Fingerprint.h"

#include <cstdint>

#include <fmt/core.h>

namespace kaveldesk {
namespace {

__extension__ using Wide = unsigned __int128;

uint64_t fnv1a(uint64_t hash, const std::string& text) {
    constexpr uint64_t kPrime = 0x100000001b3;
    for (const char c : text) {
        hash ^= static_cast<unsigned char>(c);
        hash = static_cast<uint64_t>(Wide{hash} * kPrime);
    }
    return hash;
}

}  // namespace

std::string fingerprintOf(const std::vector<std::string>& signature) {
    constexpr uint64_t kOffset = 0xcbf29ce484222325;
    uint64_t hash = fnv1a(kOffset, fmt::format("{}\n", kFingerprintVersion));
    for (const std::string& part : signature) hash = fnv1a(hash, part + "\n");
    return fmt::format("{:016x}", hash);
}

}  // namespace kaveldesk
