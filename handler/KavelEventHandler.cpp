#include "handler/KavelEventHandler.h"

#include <cinttypes>
#include <exception>
#include <vector>

#include <android-base/properties.h>

#include "event/ExtraInfo.h"
#include "event/KavelTimestamp.h"
#include "event/ReportJournal.h"
#include "handler/StatisticUpload.h"
#include "platform/CheckedCast.h"
#include "platform/Clock.h"
#include "platform/Log.h"
#include "platform/OneLine.h"
#include "platform/TraceSection.h"
#include "recovery/KavelRecoverAction.h"

namespace android {

ANDROID_SINGLETON_STATIC_INSTANCE(KavelEventHandler)

using kavel::EventRef;
using kavel::Fate;
using kavel::ReportJournal;
using kavel::TraceSection;
using kavel::VariantPolicy;

namespace {

void logDropped(const KavelReport& report, const std::exception& reason) {
    KAVEL_LOGE(KAVEL_TAG_BINDER,
               "[buildNewKavelEvent]: report of eventId 0x%lx dropped: %s; pid %d, uid %d, extra "
               "text: %s\n",
               report.eventId, reason.what(), report.pid, report.uid,
               kavel::oneLine(report.extraInfo).c_str());
}

}  // namespace

KavelEventHandler::KavelEventHandler() = default;

void KavelEventHandler::report(const KavelReport& report) {
    try {
        const KavelTimestamp arrival = kavel::generateKavelTimestamp();
        logStepBack(arrival);
        buildNewKavelEvent(report.eventId, &arrival, kavel::checkedInt32("logInfo", report.logInfo),
                           report.pid, report.uid, report.extraInfo.c_str());
    } catch (const std::exception& e) {
        // An exception from a report must not end the daemon.
        logDropped(report, e);
        ReportJournal::instance().noteReport(Fate::Dropped, report.eventId, e.what());
    }
}

/** Duplicates, related events and names depend on the wall clock: a step back can make them wrong.
 */
void KavelEventHandler::logStepBack(const KavelTimestamp& arrival) {
    const int64_t back = mClock.steppedBack(arrival.realtimeNs, kavel::monotonicNs());
    if (back == 0) return;
    KAVEL_LOGW(KAVEL_TAG_BINDER,
               "[buildNewKavelEvent]: the wall clock was set back, by at least %" PRId64 " ms.\n",
               back / 1'000'000);
}

bool KavelEventHandler::buildNewKavelEvent(long eventId, const KavelTimestamp* timestamp,
                                           int logInfo, int pid, int uid, const char* extraInfo) {
    const TraceSection trace("buildNewKavelEvent");
    if (!mParameters.isEnabled(eventId)) {
        KAVEL_LOGI(KAVEL_TAG_BINDER, "buildNewKavelEvent eventId: 0x%lx is Disable! value: %d",
                   eventId, false);
        ReportJournal::instance().noteReport(Fate::Disabled, eventId);
        return false;
    }
    KAVEL_LOGI(KAVEL_TAG_BINDER, "[buildNewKavelEvent]: buildNewKavelEvent start.\n");
    const KavelExtraInfo parts = kavel::parseExtraInfo(extraInfo, eventId);
    // The event list sets the record's id when it inserts it: under one lock, so ids are unique.
    const auto event = std::make_shared<KavelEvent>(eventId, timestamp, logInfo, pid, uid, &parts);
    try {
        kavelEventHandleThread(event);
    } catch (const std::exception& e) {
        logDropped({eventId, logInfo, pid, uid, extraInfo}, e);
        ReportJournal::instance().note(Fate::Dropped, *event, e.what());
    }
    return true;
}

const KavelEventHandler::Step KavelEventHandler::kSteps[] = {
        &KavelEventHandler::uploadStatistic,       &KavelEventHandler::showAllKavelEvents,
        &KavelEventHandler::switchVariant,         &KavelEventHandler::recover,
        &KavelEventHandler::skipEventsWithoutLogs, &KavelEventHandler::collectNwatchcallLog,
        &KavelEventHandler::prepareXlogDump,       &KavelEventHandler::catchTrailLogs,
        &KavelEventHandler::catchCommercialLogs,
};

void KavelEventHandler::kavelEventHandleThread(const std::shared_ptr<KavelEvent>& event) {
    const TraceSection trace("kavelEventHandleThread");
    if (!mEvents.place(event)) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[dravo_kavel kavelEventHandleThread]: placeKavelEvent failed or event "
                   "dumped.\n");
        ReportJournal::instance().note(Fate::Duplicate, *event);
        return;
    }
    for (const Step step : kSteps) {
        if ((this->*step)(event) == Next::Stop) return;
    }
}

KavelEventHandler::Next KavelEventHandler::uploadStatistic(const EventRef& event) {
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel kavelEventHandleThread]: dravo_statistic_common kavel event "
               "upload.\n");
    kavel::dravo_statistic_common(mParameters, *event);
    return Next::Continue;
}

KavelEventHandler::Next KavelEventHandler::showAllKavelEvents(const EventRef& /*event*/) {
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

KavelEventHandler::Next KavelEventHandler::switchVariant(const EventRef& /*event*/) {
    mVariant.kavelVersionSwitch();
    return Next::Continue;
}

KavelEventHandler::Next KavelEventHandler::recover(const EventRef& event) {
    if (!event->type.has(kavel::kRecoverable) || !mParameters.hasRecoverId(event->eventId)) {
        return Next::Continue;
    }
    const bool isOn = !VariantPolicy::checkSystemVerion() &&
                      base::GetIntProperty<int32_t>("persist.sys.agingtest", 0) != 1;
    if (isOn) {
        kavel::doKavelRecoverAction(mParameters, event->pid, event->eventId,
                                    event->extraInfo.processName, event->extraInfo.eventType);
    }
    // Recovery events never cause a catch, even if there was no recovery.
    ReportJournal::instance().note(isOn ? Fate::Recovery : Fate::RecoveryOff, *event);
    return Next::Stop;
}

KavelEventHandler::Next KavelEventHandler::skipEventsWithoutLogs(const EventRef& event) {
    if (event->type.logs != kavel::LogRule::None) return Next::Continue;
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel kavelEventHandleThread]: don't catchlog, just return \n");
    ReportJournal::instance().note(Fate::NoLogs, *event);
    return Next::Stop;
}

KavelEventHandler::Next KavelEventHandler::collectNwatchcallLog(const EventRef& event) {
    if (event->type.logs != kavel::LogRule::HangFiles) return Next::Continue;
    // Tools that read the log depend on the spelling "nwatchall".
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel kavelEventHandleThread]: KAVEL_EVENT_SF_HANG_WARNING, don't catch any "
               "kavel log, just catch nwatchall log.\n");
    mHangWarnings.collect(event);
    return Next::Stop;
}

KavelEventHandler::Next KavelEventHandler::prepareXlogDump(const EventRef& event) {
    if (!VariantPolicy::checkSystemVerion() && event->extraInfo.processName == "com.tencent.mm" &&
        event->type.has(kavel::kAppLogs)) {
        mDump.xlogRequested.store(true, std::memory_order_release);
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel kavelEventHandleThread]: prepare dump xlog.\n");
    }
    return Next::Continue;
}

KavelEventHandler::Next KavelEventHandler::catchTrailLogs(const EventRef& event) {
    if (mVariant.systemVersion() != kavel::KAVEL_SYSTEM_VERSION_TRAIL) return Next::Continue;
    mTrailCatcher.trailKavelLogCatcher(event);
    return Next::Stop;
}

KavelEventHandler::Next KavelEventHandler::catchCommercialLogs(const EventRef& event) {
    const bool isAbnormal = event->type.isAbnormalAction();
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

}  // namespace android
