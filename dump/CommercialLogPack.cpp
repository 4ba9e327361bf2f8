// The archive of an abnormal action on a commercial build, and what it takes along of the events
// around it.

#include <filesystem>
#include <map>

#include <android-base/stringprintf.h>

#include "dump/DumpContext.h"
#include "dump/HandlerSeams.h"
#include "dump/KavelDumpUtilThread.h"
#include "dump/LogFolderName.h"
#include "event/KavelTimestamp.h"
#include "platform/Log.h"
#include "platform/ShellQuote.h"

namespace android {

using base::StringPrintf;
using kavel::CatchRef;
using kavel::DumpContext;
using kavel::EventRef;

namespace {

constexpr const char* kPrefix = "[dravo_kavel commercialLogPack]: ";
constexpr double kRelatedWindow = 30.0;  // seconds
constexpr int64_t kNeverRelated = 0xE01;

/** A later record is always related, an earlier one only right before the main one. */
bool isRelated(const KavelEvent& record, const KavelEvent& main) {
    if (kavel::isAbnormalAction(record.eventId) || record.eventId == kNeverRelated) return false;
    return kavel::secondsBetween(record.timestamp, main.timestamp) < kRelatedWindow;
}

std::vector<EventRef> relatedRecords(const EventRef& main) {
    std::vector<EventRef> related;
    for (const EventRef& record : kavel::eventRing(main)) {
        if (isRelated(*record, *main)) related.push_back(record);
    }
    return related;
}

/** Takes the folder of a related record, which nobody else will pack, along into @p path. */
void joinFolder(const CatchRef& related, const std::string& path) {
    const std::string folder = related == nullptr ? "" : related->commercial.ownFolder();
    std::error_code gone;
    if (folder.empty() || folder == path || !std::filesystem::is_directory(folder, gone)) return;
    kavel::logAndRun(kPrefix, StringPrintf("mv %s %s/", kavel::shellQuote(folder).c_str(),
                                           kavel::shellQuote(path).c_str()));
}

}  // namespace

void KavelDumpUtilThread::commercialLogPack(int kavelEventId, std::string path,
                                            std::string /*spare*/) {
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel commercialLogPack]: commercialLogPack start.\n");
    DumpContext& context = kavel::dumpContext();
    const CatchRef running = context.catches.find(kavelEventId);
    if (running == nullptr || !kavel::isUsableFolder(path)) {
        KAVEL_LOGE(KAVEL_NO_TAG, "%sno event %d, or no folder '%s'.\n", kPrefix, kavelEventId,
                   path.c_str());
        return;
    }
    const EventRef main = running->event;
    const std::vector<EventRef> related = relatedRecords(main);
    // Claimed before the first wait: other technical events push the oldest ones out meanwhile.
    std::map<EventRef, CatchRef> claimed;
    for (const EventRef& record : related) claimed[record] = context.technical.claim(record);

    const std::string folder = kavel::shellQuote(path);
    for (const EventRef& record : related) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel commercialLogPack]: Kavel event log to be packed found.\n");
        packTargetBacktrace(path, main->eventId);
        packAnrStacktrace(main->pid, path,
                          kavel::anrStacktraceFlag(static_cast<uint32_t>(record->logInfo)),
                          static_cast<unsigned long long>(main->timestamp.realtimeNs));
        kavel::awaitCollected(*record);
        // A folder does not go into itself; the attempt marks each related event in the log.
        kavel::logAndRun(kPrefix, StringPrintf("mv %s %s/", folder.c_str(), folder.c_str()));
        // One that came as this pack began was in the list before it had its folder.
        CatchRef& technical = claimed[record];
        if (technical == nullptr) technical = context.technical.claim(record);
        joinFolder(technical, path);
    }
    kavel::packFolder(kPrefix, path);
}

}  // namespace android
