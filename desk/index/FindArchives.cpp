#include "desk/index/FindArchives.h"

#include <fmt/core.h>
#include <sys/stat.h>

#include <cerrno>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "desk/parse/Text.h"
#include "desk/parse/Time.h"

namespace kaveldesk {
namespace {

namespace fs = std::filesystem;

/** Returns false to end the walk. */
bool give(const fs::path& path, const WalkEvents& events) {
    FoundFile file;
    try {
        file = lookAt(path);
    } catch (const std::runtime_error& error) {
        events.failed(path, error.what());
        return true;
    }
    return events.found(file);  // its exceptions are not about this file
}

/** Returns false to end the walk. */
bool walk(const fs::path& folder, const WalkEvents& events) {
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, error);
    fs::path at = folder;  // for the message: after an error, the iterator has no entry
    while (!error && entry != fs::recursive_directory_iterator()) {
        at = entry->path();
        std::error_code ignored;
        const bool isFile = fs::is_regular_file(entry->symlink_status(ignored));
        if (isFile && hasArchiveName(at.filename().string()) && !give(at, events)) return false;
        entry.increment(error);
        // A folder that cannot be opened is passed over, the walk goes on behind it.
        if (error == std::errc::permission_denied) {
            events.failed(at, "The folder cannot be opened.");
            error.clear();
        }
    }
    if (error) events.failed(at, fmt::format("The folder cannot be read: {}.", error.message()));
    return true;
}

}  // namespace

bool hasArchiveName(const std::string& name) {
    for (const std::string_view end : {".tar.gz", ".tgz", ".tar", ".zip"}) {
        if (endsWith(name, end)) return true;
    }
    return false;
}

FoundFile lookAt(const fs::path& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        throw std::runtime_error(std::generic_category().message(errno) + ".");
    }
    // Reading a pipe or a device may never end.
    if (!S_ISREG(status.st_mode)) throw std::runtime_error("This is neither a file nor a folder.");
    return {path, status.st_size, status.st_mtim.tv_sec * kNsPerSecond + status.st_mtim.tv_nsec};
}

void findArchives(const std::vector<std::string>& paths, const WalkEvents& events) {
    for (const std::string& path : paths) {
        if (!fs::exists(path)) throw std::runtime_error(path + " does not exist.");
    }
    for (const std::string& text : paths) {
        const fs::path path = fs::absolute(text).lexically_normal();
        if (!(fs::is_directory(path) ? walk(path, events) : give(path, events))) return;
    }
}

}  // namespace kaveldesk
