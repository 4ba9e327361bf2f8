#include "dump/Pack.h"

#include <atomic>
#include <filesystem>

#include <endian.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <android-base/file.h>
#include <android-base/stringprintf.h>
#include <android-base/strings.h>
#include <android-base/unique_fd.h>
#include <log/log.h>

#include "dump/CollectionDirectory.h"
#include "dump/LogCommands.h"
#include "dump/LogFolderName.h"
#include "event/ReportJournal.h"
#include "platform/KavelPrint.h"
#include "platform/OneLine.h"
#include "platform/Shell.h"
#include "platform/ShellQuote.h"
#include "platform/Sleep.h"

namespace fs = std::filesystem;

namespace android::kavel {

using base::StringPrintf;

namespace {

/** Maximum number of checks, one second apart, whether all bits are confirmed. */
constexpr int kIntegrityChecks = 15;

bool exists(const std::string& path) {
    std::error_code gone;
    return fs::exists(fs::symlink_status(path, gone));
}

void logError(const PackJob& job, const std::string& problem, const std::string& path) {
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_ERROR, "%s%s: %s: %s\n", job.prefix, job.subject.c_str(),
                problem.c_str(), path.c_str());
}

void logNothingToPack(const PackJob& job, const LogFolder& folder) {
    logError(job, "nothing to pack, the folder is empty, gone or packed already", folder.path());
    ReportJournal::instance().noteFolder(Fate::NothingToPack, folder.path());
    std::error_code error;
    if (isUsableFolder(folder.path()) && !folder.hasContent()) fs::remove_all(folder.path(), error);
}

enum class Archive { None, Broken, Whole };

/**
 * Returns what tar made at @p path. Its status is not enough: toybox tar does not check its gzip,
 * which may be missing or find the disk full. A gzip file ends in the length of what was packed
 * (RFC 1952), and a tar stream is made of blocks of 512 bytes (POSIX).
 */
Archive checkArchive(const std::string& path) {
    constexpr off_t kGzipFrame = 18;  // header and trailer of the shortest gzip file
    constexpr uint32_t kTarBlock = 512;
    const base::unique_fd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    struct stat info = {};
    if (!file.ok() || fstat(file.get(), &info) != 0 || info.st_size == 0) return Archive::None;
    uint32_t length = 0;  // little-endian, modulo 2^32
    const off_t trailer = info.st_size - off_t{sizeof(length)};
    if (info.st_size <= kGzipFrame ||
        !base::ReadFullyAtOffset(file.get(), &length, sizeof(length), trailer)) {
        return Archive::Broken;
    }
    length = le32toh(length);
    return length == 0 || length % kTarBlock != 0 ? Archive::Broken : Archive::Whole;
}

/** Runs tar over @p members of the folder into the archive beside it. Returns the wait status. */
int runTar(const PackJob& job, const std::string& path, const char* members) {
    const std::string folder = shellQuote(path);
    const char* const f = folder.c_str();
    const std::string pack = StringPrintf("tar czf %s.tar.gz %s%s && chown system:system %s.tar.gz",
                                          f, f, members, f);
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO, "%s%s", job.prefix, pack.c_str());
    return runShell(pack, kPackDeadline);
}

/** Makes the archive beside the folder. False if there is none, or one that must not be used. */
bool makeArchive(const PackJob& job, const std::string& path) {
    const std::string archive = path + kArchiveSuffix;
    std::error_code error;
    fs::remove(archive, error);  // an archive beside its folder is not finished
    int status = runTar(job, path, "/*");
    if (checkArchive(archive) == Archive::None) {
        // No process could be started, or the list of files is too long for a command line.
        logError(job,
                 StringPrintf("no archive, once more without a list of files, status is: %d",
                              status),
                 path);
        status = runTar(job, path, "");
    }
    const Archive made = checkArchive(archive);
    if (status == 0 && made == Archive::Whole) return true;
    const bool isUsed = made != Archive::None && !job.keepsFolder;
    logError(job,
             StringPrintf(isUsed ? "the archive may lack files, status is: %d"
                                 : "no archive, the folder stays, status is: %d",
                          status),
             path);
    ReportJournal& journal = ReportJournal::instance();
    const std::string detail = StringPrintf("tar status %d", status);
    if (isUsed) {
        journal.addDetail(path, "the archive may lack files, " + detail);
    } else {
        // Before the removal, which frees what the archive has used.
        journal.noteFolder(isDiskFull(path) ? Fate::DiskFull : Fate::PackFailed, path, detail);
        fs::remove(archive, error);
    }
    return isUsed;
}

/** Renames the folder, so that no command that knows its path writes into it, and removes it. */
void discardFolder(const std::string& path) {
    static std::atomic<unsigned> sCount{0};
    const std::string remains =
            fs::path(path).parent_path() / (kRemainsPrefix + std::to_string(++sCount));
    std::error_code error;
    fs::rename(path, remains, error);
    fs::remove_all(remains, error);
}

}  // namespace

int logAndRun(const char* prefix, const std::string& command, const char* suffix) {
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_INFO, "%s%s%s", prefix, command.c_str(), suffix);
    return runShell(command);
}

int collectInto(const std::string& path, const char* prefix, const std::string& command,
                const char* suffix) {
    const int status = logAndRun(prefix, command, suffix);
    if (wasCutShort(status)) {
        ReportJournal::instance().noteLack(
                path, StringPrintf("status %d of: %s", status, oneLine(command).c_str()));
    }
    return status;
}

int collectAndCheck(const std::string& path, const char* prefix, const std::string& command) {
    const int status = collectInto(path, prefix, command);
    if (status == 0) return status;
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_WARN, "%sfailed, status is: %d: %s\n", prefix, status,
                oneLine(command).c_str());
    return status;
}

bool verifyLogIntegrity(const KavelEvent& record) {
    // If no command confirms a bit, this stays false and the pack waits its full time. That is
    // intended: some of the other files are still being written in these seconds.
    return record.collected == static_cast<uint32_t>(record.logInfo);
}

void awaitCollected(const KavelEvent& record) {
    for (int check = 0; check < kIntegrityChecks && !verifyLogIntegrity(record); ++check) {
        sleepSeconds(1);
    }
}

bool canPack(const PackJob& job, const LogFolder& folder) {
    // In this order: work that ends between the two questions has written its files by then.
    if (folder.isOpen() && (!folder.openWork().empty() || folder.hasContent())) return true;
    logNothingToPack(job, folder);
    return false;
}

std::optional<std::chrono::milliseconds> closeFolder(const char* prefix, const KavelEvent& record,
                                                     LogFolder& folder,
                                                     std::chrono::milliseconds patience) {
    const auto left = folder.close(patience);
    if (!left) {
        logNothingToPack({prefix, eventText(record)}, folder);
        return left;
    }
    const uint32_t missing =
            collectableBits(static_cast<uint32_t>(record.logInfo)) & ~record.collected;
    const std::vector<std::string> late = folder.openWork();
    if (late.empty() && missing == 0) return left;
    ReportJournal::instance().addDetail(
            folder.path(),
            StringPrintf("bits 0x%x of record %d are missing%s%s", missing, record.kavelEventId,
                         late.empty() ? "" : ", still running: ", base::Join(late, ", ").c_str()));
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_WARN, "%s%s: packed without bits 0x%x%s%s: %s\n", prefix,
                eventText(record).c_str(), missing,
                late.empty() ? "" : ", still running: ", base::Join(late, ", ").c_str(),
                folder.path().c_str());
    return left;
}

bool packFolder(const PackJob& job, const LogFolder& folder) {
    if (!folder.hasContent()) {
        logNothingToPack(job, folder);
        return false;
    }
    if (!makeArchive(job, folder.path())) return false;
    const std::string problem = moveToCollection(job.prefix, folder.path());
    if (!problem.empty()) {
        logError(job, problem + ", the archive stays", folder.path());
        // The rename is one step. If a part of the folder stayed beside the archive, the next start
        // would replace the archive as unfinished.
        discardFolder(folder.path());
    }
    removeFolder(job.prefix, folder.path());
    return true;
}

void removeFolder(const char* prefix, const std::string& path) {
    logAndRun(prefix, "rm -rf " + shellQuote(path));
    // A command that started late may have created a file meanwhile.
    for (int attempt = 0; attempt < 3 && exists(path); ++attempt) discardFolder(path);
    if (exists(path)) {
        kavel_print(LOG_ID_MAIN, ANDROID_LOG_ERROR, "%scannot remove %s\n", prefix, path.c_str());
    }
}

}  // namespace android::kavel
