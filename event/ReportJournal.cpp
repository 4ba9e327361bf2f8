#include "event/ReportJournal.h"

#include <algorithm>
#include <cinttypes>
#include <utility>

#include <android-base/stringprintf.h>
#include <log/log.h>

#include "platform/Clock.h"
#include "platform/KavelPrint.h"
#include "platform/OneLine.h"

namespace android::kavel {

// clang-format off
const std::array<FateRow, kFateCount> kFates = {{
    {Fate::Caught,         "caught",         FateRow::Kind::Open,     false, "its logs are being collected"},
    {Fate::Packed,         "packed",         FateRow::Kind::Archived, false, "its archive is complete"},
    {Fate::Disabled,       "disabled",       FateRow::Kind::Intended, false, "no archive: its event type is not enabled"},
    {Fate::Duplicate,      "duplicate",      FateRow::Kind::Intended, true,  "no archive: it repeats an abnormal action of the last 30 s"},
    {Fate::NoLogs,         "noLogs",         FateRow::Kind::Intended, true,  "no archive: nothing is collected for its event type"},
    {Fate::Recovery,       "recovery",       FateRow::Kind::Intended, false, "no archive: its event type has a recover id, so it starts a recovery"},
    {Fate::RecoveryOff,    "recoveryOff",    FateRow::Kind::Intended, true,  "no archive: its event type has a recover id, and recovery is off on this build"},
    {Fate::Unclaimed,      "unclaimed",      FateRow::Kind::Intended, true,  "no archive: on a commercial build, no abnormal action came near this technical event"},
    {Fate::NoHangFiles,    "noHangFiles",    FateRow::Kind::Intended, true,  "no archive: the multimedia tooling wrote no hang files"},
    {Fate::TooManyWaiting, "tooManyWaiting", FateRow::Kind::Failed,   false, "no archive: too many hang warnings were waiting"},
    {Fate::Malformed,      "malformed",      FateRow::Kind::Failed,   false, "no archive: the kernel's text cannot be read"},
    {Fate::Dropped,        "dropped",        FateRow::Kind::Failed,   false, "no archive: the report could not be handled"},
    {Fate::NoFolder,       "noFolder",       FateRow::Kind::Failed,   false, "no archive: there is no log folder to write into"},
    {Fate::NothingToPack,  "nothingToPack",  FateRow::Kind::Failed,   false, "no archive: its log folder was empty or gone"},
    {Fate::Ended,          "ended",          FateRow::Kind::Failed,   false, "no archive: its catch ended early"},
    {Fate::PackFailed,     "packFailed",     FateRow::Kind::Failed,   false, "no archive: the pack failed"},
    {Fate::DiskFull,       "diskFull",       FateRow::Kind::Failed,   false, "no archive: the disk is full"},
    {Fate::NotMoved,       "notMoved",       FateRow::Kind::Failed,   false, "no archive: it could not be moved and stays in the staging directory"},
    {Fate::GivenUp,        "givenUp",        FateRow::Kind::Failed,   false, "no archive: the pack failed at too many starts"},
}};
// clang-format on

namespace {

std::string cut(const std::string& text) {
    return text.substr(0, ReportJournal::kMaxText);
}

std::string nameOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    return cut(slash == std::string::npos ? path : path.substr(slash + 1));
}

void addTo(std::string* detail, const std::string& more) {
    if (more.empty()) return;
    *detail = cut(detail->empty() ? more : *detail + "; " + more);
}

bool isFailed(Fate fate) {
    return rowOf(fate).kind == FateRow::Kind::Failed;
}

/** Logs @p text about a report. A folder of an earlier start has no event. */
void logAbout(int priority, const ReportEntry& entry, std::string_view text) {
    const std::string subject =
            entry.recordId == 0 && !entry.folder.empty()
                    ? oneLine(entry.folder)
                    : base::StringPrintf("event 0x%" PRIx64 " (record %d)",
                                         static_cast<uint64_t>(entry.eventId), entry.recordId);
    kavel_print(LOG_ID_MAIN, priority, "[dravo_kavel reportJournal]: %s: %.*s\n", subject.c_str(),
                static_cast<int>(text.size()), text.data());
}

/** Logs the fate, if no other line names the event. */
void logFate(const ReportEntry& entry) {
    const FateRow& row = rowOf(entry.fate);
    if (row.hasOwnLine) logAbout(ANDROID_LOG_INFO, entry, row.text);
}

}  // namespace

ReportJournal& ReportJournal::instance() {
    static auto* const journal = new ReportJournal;
    return *journal;
}

void ReportJournal::received(Source source) {
    MutexLock lock(mLock);
    ++(source == Source::Framework ? mStatus.frameworkReports : mStatus.kernelReports);
}

void ReportJournal::incompleteReport() {
    MutexLock lock(mLock);
    ++mStatus.incompleteReports;
}

void ReportJournal::settingsStored() {
    MutexLock lock(mLock);
    ++mStatus.settings;
}

void ReportJournal::settingsRefused() {
    MutexLock lock(mLock);
    ++mStatus.refusedSettings;
}

ReportEntry* ReportJournal::findLocked(const KavelEvent& event) {
    const auto entry = std::find_if(
            mStatus.recent.rbegin(), mStatus.recent.rend(), [&](const ReportEntry& one) {
                return one.recordId == event.kavelEventId &&
                       one.timeNs == event.timestamp.realtimeNs && one.eventId == event.eventId;
            });
    return entry == mStatus.recent.rend() ? nullptr : &*entry;
}

void ReportJournal::addLocked(ReportEntry entry) {
    // A reporter that keeps sending reports that are not caught must not push out all others.
    auto& recent = mStatus.recent;
    const auto same = std::find_if(recent.begin(), recent.end(), [&](const ReportEntry& one) {
        return one.eventId == entry.eventId && one.fate == entry.fate && one.folder.empty() &&
               rowOf(one.fate).kind != FateRow::Kind::Open;
    });
    if (same != recent.end()) {
        entry.count += same->count;
        recent.erase(same);
    }
    if (recent.size() >= kRecent) {
        const ReportEntry& oldest = recent.front();
        const bool isOpen = oldest.fate == Fate::Caught && !oldest.folder.empty();
        if (isOpen && (mForgotten.size() < kMaxFolders || mForgotten.count(oldest.folder) != 0)) {
            ++mForgotten[oldest.folder];
        }
        recent.pop_front();
    }
    recent.push_back(std::move(entry));
}

/** Returns the number of reports in @p folder that are no longer listed, and removes it. */
uint64_t ReportJournal::takeForgottenLocked(const std::string& folder) {
    const auto taken = mForgotten.extract(folder);
    return taken.empty() ? 0 : taken.mapped();
}

void ReportJournal::failLocked(const ReportEntry& entry) {
    if (!isFailed(entry.fate)) return;
    if (mStatus.failures.size() >= kFailures) mStatus.failures.pop_front();
    mStatus.failures.push_back(entry);
    mStatus.failures.back().timeNs = realtimeNs();
}

void ReportJournal::noteReport(Fate fate, int64_t eventId, const std::string& detail) {
    ReportEntry entry;
    entry.timeNs = realtimeNs();
    entry.eventId = eventId;
    entry.fate = fate;
    entry.detail = cut(detail);
    MutexLock lock(mLock);
    ++mStatus.counts[static_cast<size_t>(fate)];
    failLocked(entry);
    addLocked(std::move(entry));
}

void ReportJournal::note(Fate fate, const KavelEvent& event, const std::string& detail) {
    ReportEntry noted;
    noted.timeNs = event.timestamp.realtimeNs;
    noted.eventId = event.eventId;
    noted.recordId = event.kavelEventId;
    noted.process = cut(event.extraInfo.processName);
    {
        MutexLock lock(mLock);
        ReportEntry* const known = findLocked(event);
        const bool hasNoFolder = fate == Fate::NoFolder || fate == Fate::DiskFull;
        const bool isSettled = known != nullptr && (isFailed(known->fate) ||
                                                    (known->fate == Fate::Packed && !hasNoFolder));
        if (isSettled && isFailed(fate)) return addTo(&known->detail, detail);
        ++mStatus.counts[static_cast<size_t>(fate)];
        if (known != nullptr) noted = *known;
        noted.fate = fate;
        addTo(&noted.detail, detail);
        if (hasNoFolder) {
            noted.folder.clear();
            noted.archive.clear();
        }
        failLocked(noted);
        if (known != nullptr) {
            *known = noted;
        } else {
            addLocked(noted);
        }
    }
    logFate(noted);
}

void ReportJournal::setFolder(const KavelEvent& event, const std::string& path) {
    MutexLock lock(mLock);
    if (ReportEntry* const entry = findLocked(event)) entry->folder = nameOf(path);
}

void ReportJournal::moveFolder(const std::string& from, const std::string& to) {
    MutexLock lock(mLock);
    for (ReportEntry& entry : mStatus.recent) {
        if (entry.folder == nameOf(from)) entry.folder = nameOf(to);
    }
    if (const uint64_t count = takeForgottenLocked(nameOf(from))) mForgotten[nameOf(to)] += count;
}

void ReportJournal::addDetail(const std::string& path, const std::string& detail) {
    MutexLock lock(mLock);
    for (ReportEntry& entry : mStatus.recent) {
        if (entry.folder == nameOf(path)) addTo(&entry.detail, detail);
    }
}

void ReportJournal::noteLack(const std::string& path, const std::string& detail) {
    const std::string text = "lacks a log, " + detail;
    addDetail(path, text);
    ReportEntry first;
    first.folder = nameOf(path);
    {
        MutexLock lock(mLock);
        for (const ReportEntry& entry : mStatus.recent) {
            if (entry.folder != first.folder) continue;
            first = entry;
            break;
        }
    }
    logAbout(ANDROID_LOG_WARN, first, text);
}

void ReportJournal::noteFolder(Fate fate, const std::string& path, const std::string& detail) {
    ReportEntry noted;  // of a folder whose reports are no longer known
    noted.folder = nameOf(path);
    noted.fate = fate;
    noted.timeNs = realtimeNs();
    noted.detail = cut(detail);
    {
        MutexLock lock(mLock);
        uint64_t& count = mStatus.counts[static_cast<size_t>(fate)];
        uint64_t reports = takeForgottenLocked(noted.folder);
        bool isKnown = reports != 0;
        for (ReportEntry& entry : mStatus.recent) {
            if (entry.folder != noted.folder) continue;
            isKnown = true;
            const bool isOpen = entry.fate == Fate::Caught;
            if (!isOpen && !(fate == Fate::Packed && isFailed(entry.fate))) continue;
            entry.fate = fate;
            addTo(&entry.detail, detail);
            if (reports++ == 0) noted = entry;
        }
        // The folder of an earlier start counts as one. One whose reports have their fate does not.
        if (!isKnown) reports = 1;
        count += reports;
        if (reports == 0) return;
        failLocked(noted);
    }
    logFate(noted);
}

void ReportJournal::notePacked(const std::string& path, const std::string& archive,
                               uint64_t bytes) {
    noteFolder(Fate::Packed, path);
    MutexLock lock(mLock);
    ++mStatus.archives;
    mStatus.archiveBytes += bytes;
    for (ReportEntry& entry : mStatus.recent) {
        if (entry.folder == nameOf(path) && entry.fate == Fate::Packed)
            entry.archive = cut(archive);
    }
}

JournalStatus ReportJournal::status() const {
    MutexLock lock(mLock);
    return mStatus;
}

}  // namespace android::kavel
