#include "handler/CommercialCatchers.h"

#include "dump/DumpThread.h"
#include "dump/KavelDumpUtilThread.h"
#include "event/KavelTimestamp.h"
#include "platform/Log.h"

namespace android::kavel {
namespace {

void startImmediateDump(const CatchRef& running) {
    startDumpThread(running,
                    [running] { KavelDumpUtilThread::immediateDumpThread(running, nullptr); });
}

/** Only events that are older than the incident belong to its history. */
bool isHistory(const KavelEvent& record, const KavelEvent& event) {
    return secondsBetween(record.timestamp, event.timestamp) > kDuplicateWindow;
}

}  // namespace

std::string CommercialCatchers::relatedEntry(const KavelEvent& event) {
    return kavelTimeStampToString(event.timestamp) + "@" +
           mDump.parameters.eventName(event.eventId);
}

void CommercialCatchers::commerialAbnormalActionKavelEventLogCatcher(const EventRef& event) {
    const std::vector<EventRef> records = mEvents.records();
    if (records.empty()) {
        // Tools that read the log depend on this name of the step, here and below.
        KAVEL_LOGI(KAVEL_TAG_BINDER,
                   "[kavelEventHandleThread]: No kavelEventListHead error, logs might be "
                   "missing.\n");
        return;
    }
    const CatchRef running = mDump.catches.add(event);
    CommercialNotes& notes = running->commercial;
    notes.begin();
    notes.setHasRelatedEvents(false);
    notes.addRelatedEvent(relatedEntry(*event));
    int32_t logInfo = 0;
    if (!noteRelatedEvents(records, event, notes, &logInfo)) {
        running->fail(Fate::Duplicate);
        return;
    }

    running->setFolder(mTrailCatcher.combinedLogFolder());
    startImmediateDump(running);
    startDumpThread(running, [running, &events = mEvents] {
        KavelDumpUtilThread::commercialContinuousDumpThread(
                running, [&] { return events.ringFrom(running->event); });
    });
    // Set after the threads have started: an event that arrives meanwhile does not join this catch.
    notes.setLogInfo(logInfo);
}

bool CommercialCatchers::noteRelatedEvents(const std::vector<EventRef>& records,
                                           const EventRef& event, CommercialNotes& notes,
                                           int32_t* logInfo) {
    for (const EventRef& record : records) {
        if (record == event) {
            *logInfo |= event->logInfo;
            continue;
        }
        if (!record->type.isAbnormalAction()) {
            if (!isHistory(*record, *event)) continue;
            notes.setHasRelatedEvents(true);
            notes.addRelatedEvent(relatedEntry(*record));
            continue;
        }
        double gap = 0;
        if (isDuplicateAbnormalAction(*record, *event, &gap)) {
            KAVEL_LOGI(KAVEL_TAG_BINDER,
                       "[kavelEventHandleThread]: Event dumped since duplicate abnormal action, "
                       "difftime %f.\n",
                       gap);
            return false;
        }
    }
    return true;
}

void CommercialCatchers::commerialTechnicalKavelEventLogCatcher(const EventRef& event) {
    const std::vector<EventRef> records = mEvents.records();
    const CatchRef running = mDump.catches.add(event);
    running->commercial.begin();
    if (joinOlderEvents(records, event)) running->commercial.setHasRelatedEvents(true);
    running->setFolder(mTrailCatcher.combinedLogFolder());
    startImmediateDump(running);
}

bool CommercialCatchers::joinOlderEvents(const std::vector<EventRef>& records,
                                         const EventRef& event) {
    for (const EventRef& record : records) {
        // Skip abnormal actions, although only their catches have these notes. So an event joins a
        // catch only if a technical record has the same id as the catch of an abnormal action.
        if (record->type.isAbnormalAction() || !isHistory(*record, *event)) continue;
        const CatchRef older = mDump.catches.find(record->kavelEventId);
        if (older == nullptr) continue;
        older->commercial.joinRelatedEvents(relatedEntry(*event));
        if (older->commercial.joinLogInfo(event->logInfo)) return true;
    }
    return false;
}

}  // namespace android::kavel
