#include "desk/read/Read.h"

#include <fmt/core.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "desk/read/Archive.h"
#include "desk/read/Classify.h"
#include "desk/read/FileSink.h"
#include "desk/read/Incident.h"
#include "dump/LogFolderName.h"

namespace kaveldesk {
namespace {

namespace fs = std::filesystem;

std::string readStart(const fs::path& path, uint64_t bytes) {
    std::string text(bytes, '\0');
    std::ifstream in(path, std::ios::binary);
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<size_t>(std::max<std::streamsize>(in.gcount(), 0)));
    return text;
}

/** All files below @p folder that are not links, in the order of their names. */
std::vector<fs::path> filesBelow(const fs::path& folder, FileSink& sink) {
    std::vector<fs::path> files;
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied,
                                           error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        std::error_code ignored;
        const fs::file_status status = entry->symlink_status(ignored);
        if (fs::is_directory(status)) continue;
        const std::string name = entry->path().lexically_relative(folder).generic_string();
        if (fs::is_symlink(status)) {
            sink.addProblem(name, "This is a link. Links are not followed.");
        } else if (!fs::is_regular_file(status)) {
            sink.addProblem(name, "This is a device or pipe, not a file.");
        } else if (sink.countMember()) {
            files.push_back(entry->path());
        } else {
            break;
        }
    }
    if (error) {
        sink.addProblem({},
                        fmt::format("The folder cannot be read to its end: {}.", error.message()));
    }
    std::sort(files.begin(), files.end());
    return files;
}

void readFolder(const fs::path& folder, FileSink& sink) {
    constexpr uint64_t kStart = 512;
    for (const fs::path& path : filesBelow(folder, sink)) {
        const std::string name = path.lexically_relative(folder).generic_string();
        std::error_code error;
        const uint64_t size = fs::file_size(path, error);
        if (error || !std::ifstream(path).is_open()) {
            sink.addProblem(name, "The file cannot be opened.");
        } else if (isSystemTraceName(name)) {
            sink.addUnread(name, size);
        } else if (isPacked(readStart(path, kStart))) {
            readArchive(path, name + "/", sink);
        } else {
            sink.add(name, size, readStart(path, std::min(size, sink.room())));
        }
    }
}

/** The path up to the first log folder in @p name, with "/"; empty if it has none. */
std::string logFolderOf(const std::string& name) {
    for (size_t begin = 0, end = 0; (end = name.find('/', begin)) != std::string::npos;
         begin = end + 1) {
        if (android::kavel::isLogFolderName(name.substr(begin, end - begin))) {
            return name.substr(0, end + 1);
        }
    }
    return {};
}

/** All files of an archive are in one log folder: its long path tells nothing about them. */
void removeRootFolder(Evidence& evidence) {
    if (evidence.files.empty()) return;
    const std::string root = logFolderOf(evidence.files.front().name);
    if (root.empty()) return;
    const auto isInRoot = [&](const std::string& name) { return name.rfind(root, 0) == 0; };
    const auto& files = evidence.files;
    const bool isOnlyRoot = std::all_of(files.begin(), files.end(), [&](const EvidenceFile& file) {
        return isInRoot(file.name);
    });
    if (!isOnlyRoot) return;
    for (EvidenceFile& file : evidence.files) file.name.erase(0, root.size());
    for (Problem& problem : evidence.problems) {
        if (isInRoot(problem.file)) problem.file.erase(0, root.size());
    }
}

}  // namespace

Evidence readEvidence(const fs::path& path, const ReadLimits& limits) {
    Evidence evidence;
    evidence.path = path.string();
    FileSink sink(evidence, limits);
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) throw std::runtime_error(path.string() + " does not exist.");
    evidence.incident.archive = evidenceName(path);
    if (fs::is_directory(status)) {
        readFolder(path, sink);
    } else if (!fs::is_regular_file(status)) {
        throw std::runtime_error(path.string() + " is neither a file nor a folder.");
    } else if (!std::ifstream(path).is_open()) {
        throw std::runtime_error(path.string() + " cannot be opened.");
    } else {
        readArchive(path, {}, sink);
    }
    findIncident(evidence);
    removeRootFolder(evidence);
    classifyFiles(evidence);
    return evidence;
}

std::string evidenceName(const fs::path& path) {
    const fs::path whole = fs::absolute(path).lexically_normal();
    return (whole.has_filename() ? whole : whole.parent_path()).filename().string();
}

std::vector<fs::path> evidencePaths(const fs::path& path) {
    // A log folder can have those of other events in it: they belong to it.
    if (android::kavel::isLogFolderName(path.filename().string())) return {path};
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry(path, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (android::kavel::parseArchiveName(name) || android::kavel::isLogFolderName(name)) {
            found.push_back(entry->path());
        }
    }
    if (found.empty()) return {path};
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace kaveldesk
