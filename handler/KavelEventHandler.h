#pragma once

#include <memory>
#include <string>

#include <utils/Singleton.h>

#include "dump/DumpContext.h"
#include "event/EventParameters.h"
#include "event/KavelEvent.h"
#include "handler/CommercialCatchers.h"
#include "handler/EventList.h"
#include "handler/HandlingSteps.h"
#include "handler/RecoveryActions.h"
#include "handler/TrailCatcher.h"
#include "handler/VariantPolicy.h"

namespace android {

/**
 * The process-wide object behind all inputs. Owns the event list, the settings, the pools and the
 * catches, and forwards each public operation to the class that implements it. Created on first
 * use, never destroyed. Any thread.
 */
class KavelEventHandler : public Singleton<KavelEventHandler> {
  public:
    // Building and handling records.

    /** Builds and handles a record if the event type is enabled. Returns whether it is. */
    bool buildNewKavelEvent(long eventId, const KavelTimestamp* timestamp, int logInfo, int pid,
                            int uid, const char* extraInfo);
    KavelExtraInfo parseExtraInfo(const std::string& extraInfo, long eventId);
    int generateKavelEventId();
    KavelTimestamp generateKavelTimestamp();
    std::string kavelTimeStampToString(const KavelTimestamp* timestamp);
    bool placeKavelEvent(const std::shared_ptr<KavelEvent>& event);
    void kavelEventHandleThread(const std::shared_ptr<KavelEvent>& event);
    /**
     * Returns 0 if a statistic about @p event was passed to the data-collection service, otherwise
     * -1.
     */
    int dravo_statistic_common(const KavelEvent* event);

    // Settings of an event type.

    void updateEventParams(long eventId, bool isEnable, long reportFreq);
    void setTimeWindow(long eventId, long timeWindow);
    void setRecoverId(long eventId, long recoverId);
    void setEventIdMap(long recoverId, long eventId, const std::string& eventName);
    long getTimeWindow(long eventId);

    // Policy and catchers. The spellings "Verion" and "commerial" are required: the names are part
    // of the interface.

    bool checkSystemVerion();
    void getOtaVersion();
    void kavelVersionSwitch();
    void trailKavelLogCatcher(const kavel::EventRef& event);
    void commerialAbnormalActionKavelEventLogCatcher(const kavel::EventRef& event);
    void commerialTechnicalKavelEventLogCatcher(const kavel::EventRef& event);
    std::string buildLogPathFolderName(const KavelEvent* event);

    // Recovery.

    void doKavelRecoverAction(int pid, long eventId, const std::string& processName,
                              const std::string& eventType);
    void doKavelAnrRecoverAction(int pid, long eventId, const std::string& processName,
                                 const std::string& eventType);
    int doKavelWmRebootAction();
    int doKavelRebootAction();
    int getPidForCommand(const std::string& command);

    /** For the functions through which lower modules use objects that the handler owns. */
    kavel::EventParameters& parameters() { return mParameters; }
    const kavel::RecoveryActions& recovery() const { return mRecovery; }

  private:
    friend class Singleton<KavelEventHandler>;
    KavelEventHandler();

    kavel::EventParameters mParameters;
    kavel::DumpContext mDump;
    kavel::EventList mEvents;
    kavel::VariantPolicy mVariant;
    kavel::TrailCatcher mTrailCatcher;
    kavel::CommercialCatchers mCommercialCatchers;
    kavel::RecoveryActions mRecovery;
    kavel::HandlingSteps mSteps;
};

}  // namespace android
