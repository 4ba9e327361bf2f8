#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "desk/model/Evidence.h"

namespace kaveldesk {

/** Bounds for hostile archives. What exceeds them is left out and becomes a problem. */
struct ReadLimits {
    size_t members = 20'000;
    uint64_t memberBytes = 128ull << 20;
    // Large files leave this for the files after them: each file can take smallBytes of it.
    uint64_t reservedBytes = 64ull << 20;
    uint64_t smallBytes = 16ull << 20;
    // All texts and names together, which stay in memory: with the timeline of very short lines
    // less than 450 MB.
    uint64_t keptBytes = 208ull << 20;
    uint64_t unpackedBytes = 8ull << 30;  // also what is passed over, such as system traces
    size_t nesting = 3;                   // archives in archives
};

/**
 * Reads an archive, an extracted folder or a single log. Never throws for what it holds and writes
 * nothing: what cannot be read becomes a problem. Throws std::runtime_error if @p path is not there
 * or cannot be opened.
 */
Evidence readEvidence(const std::filesystem::path& path, const ReadLimits& limits = {});

/** The name of an archive or folder, without the path; also of "." and "folder/". */
std::string evidenceName(const std::filesystem::path& path);

/**
 * The archives and log folders that are directly in the folder @p path, in the order of their
 * names, each for its own readEvidence(). Only @p path itself if there are none.
 */
std::vector<std::filesystem::path> evidencePaths(const std::filesystem::path& path);

}  // namespace kaveldesk
