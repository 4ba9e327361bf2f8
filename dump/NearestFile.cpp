#include "dump/NearestFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <dirent.h>
#include <log/log.h>
#include <sys/stat.h>

#include "dump/LogFolderName.h"
#include "platform/KavelPrint.h"
#include "platform/Log.h"

namespace android::kavel {
namespace {

constexpr uint64_t kNsPerSecond = 1'000'000'000;
constexpr size_t kMaxPath = 256;  // including the terminating NUL

/**
 * Returns the candidates in directory order, and logs a line for each. Archives are never
 * candidates, whatever process name they contain.
 */
std::vector<TraceFile> listCandidates(const TraceScan& scan, DIR* directory) {
    std::vector<TraceFile> files;
    while (const dirent* entry = readdir(directory)) {
        const std::string name = entry->d_name;
        const bool fits = std::all_of(
                scan.markers.begin(), scan.markers.end(),
                [&](const char* marker) { return name.find(marker) != std::string::npos; });
        if (!fits || parseArchiveName(name)) continue;
        kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO, "%s%s scanned.\n", scan.tag, name.c_str());
        struct stat status = {};
        if (statListed(scan.tag, scan.directory, name, &status)) {
            files.push_back({name, status.st_mtime});
        }
    }
    return files;
}

}  // namespace

bool statListed(const char* tag, const char* directory, const std::string& name,
                struct stat* status) {
    char path[kMaxPath];
    snprintf(path, sizeof(path), "%s/%s", directory, name.c_str());
    if (lstat(path, status) != 0) {
        const int error = errno;  // logging may change errno
        kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO, "%sstat %s failed with errno %d.\n", tag, path,
                    error);
        return false;
    }
    if (S_ISREG(status->st_mode)) return true;
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_WARN, "%s%s is not a regular file, skipped.\n", tag, path);
    return false;
}

int nearestFile(const std::vector<TraceFile>& files, int64_t target, int64_t offset) {
    int best = -1;
    int64_t bestKey = 0;
    for (size_t i = 0; i < files.size(); ++i) {
        const int64_t key = files[i].modified - offset;
        if (std::abs(key - target) < std::abs(bestKey - target)) {
            best = static_cast<int>(i);
            bestKey = key;
        }
    }
    return best;
}

std::string scanForTrace(const TraceScan& scan, uint64_t timeNs) {
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(scan.directory), closedir);
    if (directory == nullptr) {
        KAVEL_LOGI(KAVEL_NO_TAG, "%s", scan.notFound);
        return "";
    }
    const std::vector<TraceFile> files = listCandidates(scan, directory.get());
    const int best = nearestFile(files, static_cast<int64_t>(timeNs / kNsPerSecond), scan.offset);
    return best < 0 ? "" : files[static_cast<size_t>(best)].name;
}

}  // namespace android::kavel
