#include "dump/LeftoverFolders.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <android-base/stringprintf.h>
#include <android-base/strings.h>

#include "dump/KavelDumpUtilThread.h"
#include "dump/LogFolderName.h"
#include "platform/Log.h"
#include "platform/ShellQuote.h"

namespace fs = std::filesystem;

namespace android::kavel {
namespace {

constexpr const char* kPrefix = "[dravo_kavel packLeftoverFolders]: ";

/** What stands in the staging directory under a name of ours. */
struct Leftovers {
    std::vector<std::string> folders;
    std::vector<std::string> archives;
    bool empty() const { return folders.empty() && archives.empty(); }
};

Leftovers findLeftovers() {
    Leftovers found;
    std::error_code error;
    for (fs::directory_iterator entry(kLogFolderRoot, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename();
        std::string_view stem = name;
        const bool isArchive = base::ConsumeSuffix(&stem, kArchiveSuffix);
        if (!isLogFolderName(stem)) continue;
        std::error_code gone;
        const fs::file_type type = entry->symlink_status(gone).type();
        if (isArchive && type == fs::file_type::regular) found.archives.push_back(entry->path());
        if (!isArchive && type == fs::file_type::directory) found.folders.push_back(entry->path());
    }
    return found;
}

void pack(const Leftovers& leftovers) {
    for (const std::string& folder : leftovers.folders) {
        std::error_code notEmpty;
        if (!fs::remove(folder, notEmpty) && notEmpty) packFolder(kPrefix, folder);
    }
    // An archive beside its folder was cut short, and has been written anew by now.
    for (const std::string& archive : leftovers.archives) {
        std::error_code gone;
        if (!fs::exists(archive, gone)) continue;
        logAndRun(kPrefix,
                  base::StringPrintf("mv %s %s", shellQuote(archive).c_str(), kArchiveDirectory));
    }
    KAVEL_LOGI(KAVEL_NO_TAG, "%sdone, %zu folders, %zu archives.\n", kPrefix,
               leftovers.folders.size(), leftovers.archives.size());
}

}  // namespace

void packLeftoverFolders() {
    // Staged for a pack that is gone: it must not get into the archive of a later event.
    std::error_code error;
    fs::remove_all(kXlogStaging, error);
    Leftovers leftovers = findLeftovers();
    if (leftovers.empty()) return;
    std::thread([leftovers = std::move(leftovers)] { pack(leftovers); }).detach();
}

}  // namespace android::kavel
