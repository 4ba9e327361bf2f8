#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "event/KavelEvent.h"
#include "platform/Mutex.h"

namespace android::kavel {

/** What has become of a report, or of a log folder. */
enum class Fate : uint8_t {
    Caught,
    Packed,
    Disabled,
    Duplicate,
    NoLogs,
    Recovery,
    RecoveryOff,
    Unclaimed,
    NoHangFiles,
    TooManyWaiting,
    Malformed,
    Dropped,
    NoFolder,
    NothingToPack,
    Ended,
    PackFailed,
    DiskFull,
    NotMoved,
    GivenUp,
};
inline constexpr size_t kFateCount = 19;

/** One row of the table of fates. */
struct FateRow {
    enum class Kind {
        Open,      ///< being caught
        Archived,  ///< in an archive
        Intended,  ///< no archive, as it should be
        Failed,    ///< no archive, because of a fault or a limit
    };

    Fate fate;
    std::string_view key;  ///< name in the daemon's status
    Kind kind;
    bool hasOwnLine;        ///< the journal logs it, because no other line names the event
    std::string_view text;  ///< sentence without its subject, for people
};

/** All fates, in the order of the enumeration. */
extern const std::array<FateRow, kFateCount> kFates;

inline const FateRow& rowOf(Fate fate) {
    return kFates[static_cast<size_t>(fate)];
}

/** One report and its fate. The texts are cut to a fixed length. */
struct ReportEntry {
    int64_t timeNs = 0;  ///< wall clock: arrival of the report, the last one if there are several
    int64_t eventId = 0;
    int32_t recordId = 0;  ///< 0 if it has no record
    uint64_t count = 1;    ///< reports of the event type with the same fate and no catch
    Fate fate = Fate::Caught;
    std::string process;
    std::string folder;   ///< name of the log folder; empty if it has none
    std::string archive;  ///< name of the archive; empty if there is none
    std::string detail;   ///< more about the fate, or what the archive lacks
};

/** Snapshot of the journal. */
struct JournalStatus {
    uint64_t frameworkReports = 0;
    uint64_t kernelReports = 0;
    uint64_t incompleteReports = 0;  ///< of the framework's: handled with zeros for what is missing
    uint64_t settings = 0;           ///< requests that were stored
    uint64_t refusedSettings = 0;
    std::array<uint64_t, kFateCount> counts = {};  ///< by fate
    uint64_t archives = 0;
    uint64_t archiveBytes = 0;
    std::deque<ReportEntry> recent;    ///< latest reports, oldest first
    std::deque<ReportEntry> failures;  ///< latest failures with the time of each, oldest first
};

/**
 * Counts what becomes of each report since the start, with the details of the latest ones. Part of
 * the answer to "why is there no archive?". Any thread; one leaf lock. The log line of a fate is
 * written without the lock.
 */
class ReportJournal {
  public:
    static constexpr size_t kRecent = 32;
    static constexpr size_t kFailures = 10;
    /** Maximum length in bytes of each text that is kept. */
    static constexpr size_t kMaxText = 300;
    /** Maximum number of folders whose reports are counted when they are no longer listed. */
    static constexpr size_t kMaxFolders = 256;

    enum class Source { Framework, Kernel };

    /** The journal of the process. Never destroyed. */
    static ReportJournal& instance();

    void received(Source source);
    void incompleteReport();
    void settingsStored();
    void settingsRefused();

    /** Notes a report that has no record. */
    void noteReport(Fate fate, int64_t eventId, const std::string& detail = "");
    /**
     * Notes the fate of a record. A later fate replaces an earlier one in the latest reports. But
     * after a failure or an archive, another failure only adds its detail, unless it is that the
     * report has no log folder, and so no part in the archive.
     */
    void note(Fate fate, const KavelEvent& event, const std::string& detail = "");
    /** Notes that the logs of @p event go to the folder @p path. */
    void setFolder(const KavelEvent& event, const std::string& path);
    /** Notes that the logs in the folder @p from go into the archive of the folder @p to. */
    void moveFolder(const std::string& from, const std::string& to);
    /** Adds to the detail of all reports whose logs are in the folder @p path. */
    void addDetail(const std::string& path, const std::string& detail);
    /** Notes that these reports lack a log, with a log line that names the first one. */
    void noteLack(const std::string& path, const std::string& detail);
    /**
     * Notes the fate of a folder, and so of all reports in it that are being caught. An archive is
     * also the fate of those that have failed: what they have collected is in it.
     */
    void noteFolder(Fate fate, const std::string& path, const std::string& detail = "");
    /** Notes that the folder @p path is packed as @p archive, of @p bytes. */
    void notePacked(const std::string& path, const std::string& archive, uint64_t bytes);

    JournalStatus status() const;

  private:
    ReportEntry* findLocked(const KavelEvent& event) REQUIRES(mLock);
    void addLocked(ReportEntry entry) REQUIRES(mLock);
    void failLocked(const ReportEntry& entry) REQUIRES(mLock);
    uint64_t takeForgottenLocked(const std::string& folder) REQUIRES(mLock);

    mutable Mutex mLock;
    JournalStatus mStatus GUARDED_BY(mLock);
    /** Reports being caught that are no longer among the latest ones: their number by folder. */
    std::map<std::string, uint64_t> mForgotten GUARDED_BY(mLock);
};

}  // namespace android::kavel
