#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "desk/read/Read.h"

struct archive_entry;

namespace kaveldesk {

/** What a walk could not take along. */
struct LeftOutMember {
    std::string name;
    std::string reason;
};

/** The head of a member, and a way to read all of it, once. */
struct WalkedMember {
    archive_entry* entry;
    std::string name;
    bool isFolder;
    bool isText;
    /** Hands the content over block by block. */
    std::function<void(const std::function<void(std::string_view)>&)> read;
};

struct WalkResult {
    std::vector<LeftOutMember> leftOut;
    std::vector<std::string> problems;  // plain sentences
    uint64_t bytes = 0;                 // content, unpacked
};

/**
 * Calls @p visit for each folder and file of an archive (tar or zip, packed with gzip or not), of a
 * folder, or for a single text, as a stream. Members of archives in archives have the names of
 * these in front. Left out are members beyond the limits, links and devices, names that lead out of
 * the archive, and, without @p keep_binary, files that are no text. What is broken is walked as far
 * as it can be read. Throws what @p visit throws.
 */
WalkResult walkMembers(const std::filesystem::path& path, const ReadLimits& limits,
                       bool keep_binary, const std::function<void(const WalkedMember&)>& visit);

}  // namespace kaveldesk
