#include "dump/LeftoverFolders.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <android-base/file.h>
#include <android-base/strings.h>
#include <fcntl.h>
#include <log/log.h>
#include <unistd.h>

#include <android-base/unique_fd.h>

#include "dump/CollectionDirectory.h"
#include "dump/LogFolder.h"
#include "dump/LogFolderName.h"
#include "dump/Nwatchcall.h"
#include "dump/Pack.h"
#include "event/ReportJournal.h"
#include "platform/KavelPrint.h"
#include "platform/Log.h"

namespace fs = std::filesystem;

namespace android::kavel {
namespace {

constexpr const char* kPrefix = "[dravo_kavel packLeftoverFolders]: ";
/** Maximum number of folders that are kept after their tar failed. */
constexpr size_t kMaxKeptFolders = 31;
/** Maximum number of starts that try to pack a folder. */
constexpr uintmax_t kMaxAttempts = 10;
/** Name of a file in a folder that has one byte for each attempt. */
constexpr const char* kAttemptsFile = ".pack_attempts";

/** What an earlier process of the daemon left in the staging directory. */
struct Leftovers {
    std::vector<std::string> folders;   ///< oldest first
    std::vector<std::string> archives;  ///< paths of their folders, which may be missing
    bool empty() const { return folders.empty() && archives.empty(); }
};

/**
 * Sorts by time, oldest first. Reads each time only once, because commands of the earlier process
 * may still write.
 */
void sortByAge(std::vector<std::string>& folders) {
    std::vector<std::pair<fs::file_time_type, std::string>> byAge;
    for (std::string& folder : folders) {
        std::error_code gone;
        const fs::file_time_type time = fs::last_write_time(folder, gone);
        byAge.emplace_back(time, std::move(folder));
    }
    std::sort(byAge.begin(), byAge.end());
    for (size_t i = 0; i < byAge.size(); ++i) folders[i] = std::move(byAge[i].second);
}

/** Finds the leftovers. Removes folders whose removal had begun. */
Leftovers findLeftovers() {
    Leftovers found;
    std::error_code error;
    for (fs::directory_iterator entry(kLogFolderRoot, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string path = entry->path();
        std::error_code gone;
        if (base::StartsWith(entry->path().filename().native(), kRemainsPrefix)) {
            fs::remove_all(path, gone);
        }
        std::string_view folder = path;
        const bool isArchive = base::ConsumeSuffix(&folder, kArchiveSuffix);
        if (!isLogFolderName(folder.substr(folder.rfind('/') + 1))) continue;
        const fs::file_type type = entry->symlink_status(gone).type();
        if (isArchive && type == fs::file_type::regular) found.archives.emplace_back(folder);
        if (!isArchive && type == fs::file_type::directory) found.folders.push_back(path);
    }
    sortByAge(found.folders);
    return found;
}

/** Counts an attempt to pack @p folder. Returns the number of attempts, or 0 if it is unknown. */
uintmax_t countAttempt(const std::string& folder) {
    const std::string file = folder + "/" + kAttemptsFile;
    const base::unique_fd fd(open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600));
    if (!fd.ok() || !base::WriteStringToFd(".", fd.get())) return 0;
    std::error_code error;
    const uintmax_t size = fs::file_size(file, error);
    return error ? 0 : size;
}

void giveUp(const std::string& folder, const char* reason) {
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_ERROR, "%s%s, its logs are lost: %s\n", kPrefix, reason,
                folder.c_str());
    ReportJournal::instance().noteFolder(Fate::GivenUp, folder, reason);
    removeFolder(kPrefix, folder);
}

bool isHangWarning(const std::string& folder) {
    std::error_code error;
    return fs::exists(folder + "/" + kHangWarningMarker, error);
}

/**
 * Packs the folder @p path, or removes it if it is empty. Returns false if it stays for the next
 * start.
 */
bool packLeftover(const std::string& path, uintmax_t attempt) {
    const LogFolder folder(path);
    if (!folder.hasContent()) {
        kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO, "%sempty, its event has no logs: %s\n", kPrefix,
                    path.c_str());
        ReportJournal::instance().noteFolder(Fate::NothingToPack, path);
        std::error_code error;
        fs::remove_all(path, error);
        return true;
    }
    // The last attempt accepts an archive of what tar can read.
    const bool isLast = attempt >= kMaxAttempts;
    if (packFolder({kPrefix, "leftover folder", !isLast}, folder)) return true;
    if (isLast) giveUp(path, "too many starts have failed to pack a folder");
    return isLast;
}

/**
 * Packs all folders except those of hang warnings. Folders whose tar fails stay for the next start,
 * up to a maximum number.
 */
void packFolders(const std::vector<std::string>& folders) {
    std::vector<std::string> kept;
    for (const std::string& path : folders) {
        if (!isHangWarning(path) && !packLeftover(path, countAttempt(path))) kept.push_back(path);
    }
    for (size_t i = 0; i + kMaxKeptFolders < kept.size(); ++i) {
        giveUp(kept[i], "too many folders could not be packed");
    }
}

/** Waits for the files of a hang warning again, unless too many starts have done so. */
void packHangWarning(const std::string& path) {
    const uintmax_t attempt = countAttempt(path);
    if (attempt < kMaxAttempts) copyNwatchcallLog(path);
    std::error_code error;
    fs::remove(path + "/" + kHangWarningMarker, error);
    packLeftover(path, attempt);
}

void pack(const Leftovers& leftovers) {
    packFolders(leftovers.folders);
    for (const std::string& folder : leftovers.archives) {
        std::error_code gone;
        // An archive beside its folder is not finished. The pack of the folder replaces it.
        if (fs::exists(folder, gone) || !fs::exists(folder + kArchiveSuffix, gone)) continue;
        const std::string problem = moveToCollection(kPrefix, folder);
        if (problem.empty()) continue;
        kavel_print(LOG_ID_MAIN, ANDROID_LOG_ERROR, "%s%s, the archive stays: %s\n", kPrefix,
                    problem.c_str(), folder.c_str());
    }
    // Last, because each waits five minutes for its files.
    for (const std::string& folder : leftovers.folders) {
        if (isHangWarning(folder)) packHangWarning(folder);
    }
    KAVEL_LOGI(KAVEL_NO_TAG, "%sdone, %zu folders, %zu archives.\n", kPrefix,
               leftovers.folders.size(), leftovers.archives.size());
}

}  // namespace

void packLeftoverFolders() {
    // Staged for a pack of the earlier process: must not get into the archive of a later event.
    std::error_code error;
    fs::remove_all(kXlogStaging, error);
    Leftovers leftovers = findLeftovers();
    if (leftovers.empty()) return;
    try {
        std::thread([leftovers = std::move(leftovers)] {
            try {
                pack(leftovers);
            } catch (const std::exception& e) {
                KAVEL_LOGE(KAVEL_NO_TAG, "%sended: %s\n", kPrefix, e.what());
            }
        }).detach();
    } catch (const std::system_error& e) {
        KAVEL_LOGE(KAVEL_NO_TAG, "%sno thread, left for the next start: %s\n", kPrefix, e.what());
    }
}

}  // namespace android::kavel
