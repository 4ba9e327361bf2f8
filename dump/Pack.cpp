#include "dump/Pack.h"

#include <atomic>
#include <filesystem>

#include <android-base/stringprintf.h>
#include <android-base/strings.h>
#include <log/log.h>

#include "dump/CollectionDirectory.h"
#include "dump/LogFolderName.h"
#include "platform/KavelPrint.h"
#include "platform/Shell.h"
#include "platform/ShellQuote.h"
#include "platform/Sleep.h"

namespace fs = std::filesystem;

namespace android::kavel {

using base::StringPrintf;

namespace {

constexpr int kIntegrityChecks = 15;

bool exists(const std::string& path) {
    std::error_code gone;
    return fs::exists(fs::symlink_status(path, gone));
}

void logError(const PackJob& job, const std::string& problem, const std::string& path) {
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_ERROR, "%s%s: %s: %s\n", job.prefix, job.subject.c_str(),
                problem.c_str(), path.c_str());
}

std::string withStatus(const char* problem, int status) {
    return StringPrintf("%s, status is: %d", problem, status);
}

void logNothingToPack(const PackJob& job, const LogFolder& folder) {
    logError(job, "nothing to pack, the folder is empty, gone or packed already", folder.path());
    std::error_code error;
    if (isUsableFolder(folder.path()) && !folder.hasContent()) fs::remove_all(folder.path(), error);
}

/** Runs tar over @p members into the archive beside the folder, whose quoted path is @p folder. */
int runTar(const PackJob& job, const std::string& folder, const std::string& members) {
    const char* const f = folder.c_str();
    const std::string pack = StringPrintf("tar czf %s.tar.gz %s && chown system:system %s.tar.gz",
                                          f, members.c_str(), f);
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO, "%s%s", job.prefix, pack.c_str());
    return runShell(pack, kPackDeadline);
}

/** Makes the archive beside the folder. False if there is none, or one that must not be used. */
bool makeArchive(const PackJob& job, const std::string& path) {
    const std::string folder = shellQuote(path);
    const std::string archive = path + kArchiveSuffix;
    std::error_code error;
    fs::remove(archive, error);  // of a life of the daemon that ended while it was written
    int status = runTar(job, folder, folder + "/*");
    if (!exists(archive)) {
        // No process could be had, or the list of files is too long for a command line.
        logError(job, withStatus("tar was not started, once more without a list of files", status),
                 path);
        status = runTar(job, folder, folder);
    }
    if (!exists(archive)) {
        logError(job, withStatus("tar was not started, the folder stays", status), path);
        return false;
    }
    if (status == 0) return true;
    if (!job.keepsFolder) {
        logError(job, withStatus("tar or chown failed, the archive may lack files", status), path);
        return true;
    }
    logError(job, withStatus("tar failed, the folder stays", status), path);
    fs::remove(archive, error);
    return false;
}

}  // namespace

int logAndRun(const char* prefix, const std::string& command, const char* suffix) {
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO, "%s%s%s", prefix, command.c_str(), suffix);
    return runShell(command);
}

bool verifyLogIntegrity(const KavelEvent& record) {
    // Bits that no command reports make this false for good, and the pack waits its full time.
    // Readers of the archives count on those seconds: some of that evidence is still being written.
    return record.collected == static_cast<uint32_t>(record.logInfo);
}

void awaitCollected(const KavelEvent& record) {
    for (int check = 0; check < kIntegrityChecks && !verifyLogIntegrity(record); ++check)
        sleepSeconds(1);
}

bool canPack(const PackJob& job, const LogFolder& folder) {
    if (folder.isOpen() && (folder.hasContent() || !folder.openWork().empty())) return true;
    logNothingToPack(job, folder);
    return false;
}

std::optional<std::chrono::milliseconds> closeFolder(const PackJob& job, LogFolder& folder,
                                                     std::chrono::milliseconds patience) {
    patience = folder.awaitWork(patience);
    if (!folder.close()) return std::nullopt;
    const std::vector<std::string> late = folder.openWork();
    if (!late.empty()) logError(job, "packed without " + base::Join(late, ", "), folder.path());
    return patience;
}

bool packFolder(const PackJob& job, LogFolder& folder, std::chrono::milliseconds patience) {
    if (!closeFolder(job, folder, patience) || !folder.hasContent()) {
        logNothingToPack(job, folder);
        return false;
    }
    if (!makeArchive(job, folder.path())) return false;
    const std::string problem = moveToCollection(job.prefix, folder.path());
    if (!problem.empty()) logError(job, problem + ", the archive stays", folder.path());
    removeFolder(job.prefix, folder.path());
    return true;
}

void removeFolder(const char* prefix, const std::string& path) {
    static std::atomic<unsigned> sCount{0};
    logAndRun(prefix, "rm -rf " + shellQuote(path));
    // A command that was slow to start may have made a file meanwhile. It does not find the folder
    // under another name.
    std::error_code error;
    for (int attempt = 0; attempt < 3 && exists(path); ++attempt) {
        const std::string remains =
                fs::path(path).parent_path() / (kRemainsPrefix + std::to_string(++sCount));
        fs::rename(path, remains, error);
        fs::remove_all(remains, error);
    }
    if (exists(path)) {
        kavel_print(LOG_ID_MAIN, ANDROID_LOG_ERROR, "%scannot remove %s\n", prefix, path.c_str());
    }
}

}  // namespace android::kavel
