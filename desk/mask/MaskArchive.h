#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "desk/mask/MaskText.h"
#include "desk/mask/MemberWalk.h"

namespace kaveldesk {

struct MaskOptions {
    bool keepBinary = false;  // copy files that are no text as they are
    ReadLimits limits = {20'000, 256 << 20};
    std::function<void(size_t bytes)> progress = [](size_t) {};  // called as content is read
};

/** What the masked copy of one archive has. Names in it are masked. */
struct MaskReport {
    MaskCounts counts;
    uint64_t files = 0;  // written
    WalkResult walk;
};

/**
 * Gives pseudonyms to the values in the names and texts of an archive. Returns how many bytes it
 * has read, unpacked. Throws std::runtime_error.
 */
uint64_t learnArchive(const std::filesystem::path& in, const MaskOptions& options,
                      Pseudonyms* pseudonyms);

/**
 * Writes a masked copy of the archive, folder or text @p in as a new archive @p out. Throws
 * std::runtime_error, also if @p out exists, nothing of @p in can be masked, or it has a value that
 * learnArchive() has not seen; then nothing is written.
 */
MaskReport maskArchive(const std::filesystem::path& in, const std::filesystem::path& out,
                       const MaskOptions& options, const KnownValues& known,
                       Pseudonyms* pseudonyms);

}  // namespace kaveldesk
