#include "dump/CommercialLogPack.h"

#include <algorithm>
#include <map>

#include <android-base/stringprintf.h>
#include <log/log.h>

#include "dump/DumpContext.h"
#include "dump/Pack.h"
#include "dump/TrailLogPack.h"
#include "event/KavelTimestamp.h"
#include "platform/KavelPrint.h"
#include "platform/Log.h"
#include "platform/ShellQuote.h"

namespace android::kavel {

using base::StringPrintf;

namespace {

constexpr const char* kPrefix = "[dravo_kavel commercialLogPack]: ";
constexpr double kRelatedWindow = 30.0;  // seconds

/** A technical event is related if it is later, or less than 30 s earlier. */
bool isRelated(const KavelEvent& record, const KavelEvent& main) {
    if (record.type.commercial != CommercialPart::Neighbour) return false;
    return secondsBetween(record.timestamp, main.timestamp) < kRelatedWindow;
}

/**
 * Waits for the late commands of a related record, which has no pack of its own, and moves its
 * folder into @p path. Returns the rest of @p patience.
 */
std::chrono::milliseconds joinFolder(const CatchRef& related, const std::string& path,
                                     std::chrono::milliseconds patience) {
    const LogFolderRef folder = related == nullptr ? nullptr : related->folder();
    if (folder == nullptr || folder->isWindow() || !folder->isOpen()) return patience;
    const auto left = closeFolder(kPrefix, *related->event, *folder, patience);
    if (!left) return patience;
    const int status =
            logAndRun(kPrefix, StringPrintf("mv %s %s/", shellQuote(folder->path()).c_str(),
                                            shellQuote(path).c_str()));
    ReportJournal& journal = ReportJournal::instance();
    if (status == 0) {
        journal.moveFolder(folder->path(), path);
    } else {
        kavel_print(LOG_ID_MAIN, ANDROID_LOG_ERROR,
                    "%s%s: mv failed, status is: %d, the folder stays: %s\n", kPrefix,
                    eventText(*related->event).c_str(), status, folder->path().c_str());
        journal.noteFolder(Fate::NotMoved, folder->path(), "mv status " + std::to_string(status));
    }
    return *left;
}

}  // namespace

void commercialLogPack(const CatchRef& running, const std::vector<EventRef>& ring) {
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel commercialLogPack]: commercialLogPack start.\n");
    DumpContext& context = running->context;
    const KavelEvent& main = *running->event;
    const LogFolderRef folder = running->folder();
    const std::string& path = folder->path();
    const PackJob job = {kPrefix, eventText(main)};
    if (!canPack(job, *folder)) return;

    std::vector<EventRef> related;
    std::copy_if(ring.begin(), ring.end(), std::back_inserter(related),
                 [&](const EventRef& record) { return isRelated(*record, main); });
    // Claimed before the first wait: further technical events replace the oldest ones meanwhile.
    std::map<EventRef, CatchRef> claimed;
    for (const EventRef& record : related) claimed[record] = context.technical.claim(record);

    std::chrono::milliseconds patience = kLateWorkPatience;
    const std::string quoted = shellQuote(path);
    running->enter(CatchPhase::AwaitingBits);
    for (const EventRef& record : related) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel commercialLogPack]: Kavel event log to be packed found.\n");
        packTargetBacktrace(main, path);
        packAnrStacktrace(main, path, anrStacktraceFlag(static_cast<uint32_t>(record->logInfo)));
        awaitCollected(*record);
        // A folder cannot move into itself. The command's log line marks each related event.
        logAndRun(kPrefix, StringPrintf("mv %s %s/", quoted.c_str(), quoted.c_str()));
        // An event that arrived when this pack began was in the list before it had a folder.
        CatchRef& technical = claimed[record];
        if (technical == nullptr) technical = context.technical.claim(record);
        patience = joinFolder(technical, path, patience);
    }
    running->enter(CatchPhase::AwaitingCommands);
    if (!closeFolder(kPrefix, main, *folder, patience)) return;
    running->enter(CatchPhase::Packing);
    packFolder(job, *folder);
}

}  // namespace android::kavel
