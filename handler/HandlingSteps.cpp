#include "handler/HandlingSteps.h"

#include <android-base/properties.h>

#include "handler/StatisticUpload.h"
#include "platform/Log.h"
#include "platform/TraceSection.h"

namespace android::kavel {

const HandlingSteps::Step HandlingSteps::kSteps[] = {
        &HandlingSteps::uploadStatistic,       &HandlingSteps::showAllKavelEvents,
        &HandlingSteps::switchVariant,         &HandlingSteps::recover,
        &HandlingSteps::skipEventsWithoutLogs, &HandlingSteps::collectNwatchcallLog,
        &HandlingSteps::prepareXlogDump,       &HandlingSteps::catchTrailLogs,
        &HandlingSteps::catchCommercialLogs,
};

void HandlingSteps::kavelEventHandleThread(const std::shared_ptr<KavelEvent>& event) {
    const TraceSection trace("kavelEventHandleThread");
    if (!mEvents.place(event)) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel kavelEventHandleThread]: placeKavelEvent failed or event "
                   "dumped.\n");
        return;
    }
    for (const Step step : kSteps) {
        if ((this->*step)(event) == Next::Stop) return;
    }
}

HandlingSteps::Next HandlingSteps::uploadStatistic(const EventRef& event) {
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel kavelEventHandleThread]: dravo_statistic_common kavel event "
               "upload.\n");
    dravo_statistic_common(mParameters, *event);
    return Next::Continue;
}

HandlingSteps::Next HandlingSteps::showAllKavelEvents(const EventRef& /*event*/) {
    const std::vector<EventRef> records = mEvents.records();
    if (records.empty()) return Next::Continue;
    // Each line shows the time of the oldest record. Readers use it to group the lines.
    const KavelTimestamp& time = records.front()->timestamp;
    for (const EventRef& record : records) {
        KAVEL_LOGI(KAVEL_TAG_BINDER,
                   "[dravo_kavel showAllKavelEvents]:eventID: %ld logInfo: %d timestamp: "
                   "%d-%02d-%02d %02d:%02d:%02d %03d.\n",
                   static_cast<long>(record->eventId), record->logInfo, time.tm_year + 1900,
                   time.tm_mon + 1, time.tm_mday, time.tm_hour, time.tm_min, time.tm_sec,
                   time.millisecond);
    }
    return Next::Continue;
}

HandlingSteps::Next HandlingSteps::switchVariant(const EventRef& /*event*/) {
    mVariant.kavelVersionSwitch();
    return Next::Continue;
}

HandlingSteps::Next HandlingSteps::recover(const EventRef& event) {
    if (event->eventId < kFirstRecoverableEvent || !mParameters.hasRecoverId(event->eventId)) {
        return Next::Continue;
    }
    if (!VariantPolicy::checkSystemVerion() &&
        base::GetIntProperty<int32_t>("persist.sys.agingtest", 0) != 1) {
        mRecovery.doKavelRecoverAction(event->pid, event->eventId, event->extraInfo.processName,
                                       event->extraInfo.eventType);
    }
    // Recovery events never cause a catch, even if there was no recovery.
    return Next::Stop;
}

HandlingSteps::Next HandlingSteps::skipEventsWithoutLogs(const EventRef& event) {
    switch (event->eventId) {
        case 0x203:
        case 0x204:
        case 0x402:
        case 0x804:
            KAVEL_LOGI(KAVEL_NO_TAG,
                       "[dravo_kavel kavelEventHandleThread]: don't catchlog, just return \n");
            return Next::Stop;
        default:
            return Next::Continue;
    }
}

HandlingSteps::Next HandlingSteps::collectNwatchcallLog(const EventRef& event) {
    if (event->eventId != KAVEL_EVENT_SF_HANG_WARNING) return Next::Continue;
    // Tools that read the log depend on the spelling "nwatchall".
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel kavelEventHandleThread]: KAVEL_EVENT_SF_HANG_WARNING, don't catch any "
               "kavel log, just catch nwatchall log.\n");
    mHangWarnings.collect(event);
    return Next::Stop;
}

HandlingSteps::Next HandlingSteps::prepareXlogDump(const EventRef& event) {
    const bool isXlogEvent =
            event->eventId == 0x3 || event->eventId == 0x101 || event->eventId == 0x5;
    if (!VariantPolicy::checkSystemVerion() && event->extraInfo.processName == "com.tencent.mm" &&
        isXlogEvent) {
        mDump.xlogRequested.store(true, std::memory_order_release);
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel kavelEventHandleThread]: prepare dump xlog.\n");
    }
    return Next::Continue;
}

HandlingSteps::Next HandlingSteps::catchTrailLogs(const EventRef& event) {
    if (mVariant.systemVersion() != KAVEL_SYSTEM_VERSION_TRAIL) return Next::Continue;
    mTrailCatcher.trailKavelLogCatcher(event);
    return Next::Stop;
}

HandlingSteps::Next HandlingSteps::catchCommercialLogs(const EventRef& event) {
    const bool isAbnormal = isAbnormalAction(event->eventId);
    // Tools that read the log depend on the spelling "commerial".
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel commerialKavelLogCatcher]: commerialKavelLogCatcher %s event "
               "found.\n",
               isAbnormal ? "abnormal action" : "technical");
    if (isAbnormal) {
        mCommercialCatchers.commerialAbnormalActionKavelEventLogCatcher(event);
    } else {
        mCommercialCatchers.commerialTechnicalKavelEventLogCatcher(event);
    }
    return Next::Stop;
}

}  // namespace android::kavel
