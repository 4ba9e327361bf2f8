#include "handler/KavelEventHandler.h"

#include "dump/LogPath.h"
#include "event/ExtraInfo.h"
#include "event/KavelTimestamp.h"
#include "handler/EventBuilder.h"
#include "handler/StatisticUpload.h"

namespace android {

ANDROID_SINGLETON_STATIC_INSTANCE(KavelEventHandler)

KavelEventHandler::KavelEventHandler()
      : mDump(mParameters),
        mTrailCatcher(mEvents, mDump),
        mCommercialCatchers(mEvents, mDump, mTrailCatcher),
        mRecovery(mParameters),
        mSteps(mEvents, mParameters, mDump, mVariant, mTrailCatcher, mCommercialCatchers,
               mRecovery) {}

bool KavelEventHandler::buildNewKavelEvent(long eventId, const KavelTimestamp* timestamp,
                                           int logInfo, int pid, int uid, const char* extraInfo) {
    return kavel::buildNewKavelEvent(mParameters, mSteps,
                                     {eventId, timestamp, logInfo, pid, uid, extraInfo});
}

KavelExtraInfo KavelEventHandler::parseExtraInfo(const std::string& extraInfo, long eventId) {
    return kavel::parseExtraInfo(extraInfo, eventId);
}

int KavelEventHandler::generateKavelEventId() {
    return mEvents.generateKavelEventId();
}

KavelTimestamp KavelEventHandler::generateKavelTimestamp() {
    return kavel::generateKavelTimestamp();
}

std::string KavelEventHandler::kavelTimeStampToString(const KavelTimestamp* timestamp) {
    return kavel::kavelTimeStampToString(*timestamp);
}

bool KavelEventHandler::placeKavelEvent(const std::shared_ptr<KavelEvent>& event) {
    return mEvents.place(event);
}

void KavelEventHandler::kavelEventHandleThread(const std::shared_ptr<KavelEvent>& event) {
    mSteps.kavelEventHandleThread(event);
}

int KavelEventHandler::dravo_statistic_common(const KavelEvent* event) {
    return kavel::dravo_statistic_common(mParameters, *event);
}

void KavelEventHandler::updateEventParams(long eventId, bool isEnable, long reportFreq) {
    mParameters.updateEventParams(eventId, isEnable, reportFreq);
}

void KavelEventHandler::setTimeWindow(long eventId, long timeWindow) {
    mParameters.setTimeWindow(eventId, timeWindow);
}

void KavelEventHandler::setRecoverId(long eventId, long recoverId) {
    mParameters.setRecoverId(eventId, recoverId);
}

void KavelEventHandler::setEventIdMap(long recoverId, long eventId, const std::string& eventName) {
    mParameters.setEventIdMap(recoverId, eventId, eventName);
}

long KavelEventHandler::getTimeWindow(long eventId) {
    return mParameters.getTimeWindow(eventId);
}

bool KavelEventHandler::checkSystemVerion() {
    return kavel::VariantPolicy::checkSystemVerion();
}

void KavelEventHandler::getOtaVersion() {
    kavel::VariantPolicy::getOtaVersion();
}

void KavelEventHandler::kavelVersionSwitch() {
    mVariant.kavelVersionSwitch();
}

void KavelEventHandler::trailKavelLogCatcher(const kavel::EventRef& event) {
    mTrailCatcher.trailKavelLogCatcher(event);
}

void KavelEventHandler::commerialAbnormalActionKavelEventLogCatcher(const kavel::EventRef& event) {
    mCommercialCatchers.commerialAbnormalActionKavelEventLogCatcher(event);
}

void KavelEventHandler::commerialTechnicalKavelEventLogCatcher(const kavel::EventRef& event) {
    mCommercialCatchers.commerialTechnicalKavelEventLogCatcher(event);
}

std::string KavelEventHandler::buildLogPathFolderName(const KavelEvent* event) {
    return kavel::buildLogPathFolderName(mParameters, event);
}

void KavelEventHandler::doKavelRecoverAction(int pid, long eventId, const std::string& processName,
                                             const std::string& eventType) {
    mRecovery.doKavelRecoverAction(pid, eventId, processName, eventType);
}

void KavelEventHandler::doKavelAnrRecoverAction(int pid, long eventId,
                                                const std::string& processName,
                                                const std::string& eventType) {
    mRecovery.doKavelAnrRecoverAction(pid, eventId, processName, eventType);
}

int KavelEventHandler::doKavelWmRebootAction() {
    return mRecovery.doKavelWmRebootAction();
}

int KavelEventHandler::doKavelRebootAction() {
    return mRecovery.doKavelRebootAction();
}

int KavelEventHandler::getPidForCommand(const std::string& command) {
    return kavel::RecoveryActions::getPidForCommand(command);
}

}  // namespace android
