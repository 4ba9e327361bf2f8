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
 * Calls @p visit for each folder and file of a tar archive, packed with gzip or not, as a stream.
 * Left out are members beyond the limits, links and devices, names that lead out of the archive,
 * and, without
 * @p keep_binary, files that are no text. A broken archive is walked as far as it can be read.
 * Throws std::runtime_error if @p path is not an archive, and what @p visit throws.
 */
WalkResult walkMembers(const std::filesystem::path& path, const ReadLimits& limits,
                       bool keep_binary, const std::function<void(const WalkedMember&)>& visit);

/** Whether a file that starts with @p head is text: no archive or program, hardly any control
 * bytes. */
bool isMaskable(std::string_view head);

}  // namespace kaveldesk
