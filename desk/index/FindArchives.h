#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace kaveldesk {

struct FoundFile {
    std::filesystem::path path;  // absolute
    int64_t size = 0;
    int64_t modifiedNs = 0;
};

/** Whether a file of this name below a folder is an archive. */
bool hasArchiveName(const std::string& name);

/** The file @p path as it is now. Throws std::runtime_error if it does not exist or is no regular
 * file. */
FoundFile lookAt(const std::filesystem::path& path);

struct WalkEvents {
    /** A file to index. Returns false to end the walk. */
    std::function<bool(const FoundFile&)> found;
    /** Something that cannot be looked at, with the reason. */
    std::function<void(const std::filesystem::path&, const std::string& reason)> failed;
};

/**
 * Finds archives: the files among @p paths, and below the folders among them all files with names
 * of archives (.tar.gz, .tgz, .tar, .zip). Does not follow links below a folder. Throws
 * std::runtime_error for a path that is not there.
 */
void findArchives(const std::vector<std::string>& paths, const WalkEvents& events);

}  // namespace kaveldesk
