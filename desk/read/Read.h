#pragma once

#include <cstdint>
#include <filesystem>

#include "desk/model/Evidence.h"

namespace kaveldesk {

/** Bounds for hostile archives. What exceeds them is left out and becomes a problem. */
struct ReadLimits {
    size_t members = 20'000;
    uint64_t memberBytes = 256ull << 20;
    uint64_t totalBytes = 1ull << 30;
    size_t nesting = 3;  // archives in archives
};

/**
 * Reads an archive or an extracted folder. Never throws for what the archive holds and writes
 * nothing: what cannot be read becomes a problem. Throws std::runtime_error if @p path is not
 * there.
 */
Evidence readEvidence(const std::filesystem::path& path, const ReadLimits& limits = {});

}  // namespace kaveldesk
