#pragma once

#include <memory>
#include <string>
#include <vector>

#include <utils/Singleton.h>

#include "dump/DumpContext.h"
#include "event/ClockWatch.h"
#include "event/EventParameters.h"
#include "event/KavelEvent.h"
#include "handler/CommercialCatchers.h"
#include "handler/EventList.h"
#include "handler/HangWarnings.h"
#include "handler/TrailCatcher.h"
#include "handler/VariantPolicy.h"

namespace android {

namespace kavel {

/** Snapshot of the handler. */
struct HandlerStatus {
    std::vector<EventTypeStatus> eventTypes;
    std::vector<EventRef> events;      ///< the event list, oldest first
    std::vector<CatchStatus> catches;  ///< the newest ones, oldest first
    size_t catchCount = 0;             ///< number of all catches
    bool isWindowOpen = false;
    std::vector<PoolStatus> pools;
};

/** Maximum number of catches in a snapshot. */
inline constexpr size_t kMaxStatusCatches = 32;

}  // namespace kavel

/** One report, as the framework or the kernel sent it. */
struct KavelReport {
    long eventId;
    long logInfo;  ///< log-selection bits; a value outside int32 ends the process
    int pid;
    int uid;
    std::string extraInfo;
};

/**
 * The process-wide object that the inputs call. Owns the settings, the event list, the pools and
 * the catchers. Built on first use and never destroyed. Any thread. An object that a test builds
 * must outlive the catches that it starts.
 */
class KavelEventHandler : public Singleton<KavelEventHandler> {
  public:
    KavelEventHandler();

    /**
     * Takes the time of arrival, builds a record and handles it. Blocks the calling thread until
     * the handling returns, which does not wait for a catch. Throws nothing: if a report cannot be
     * handled, one error line is logged.
     */
    void report(const KavelReport& report);

    /** Takes a snapshot. Waits for nothing but short locks. */
    kavel::HandlerStatus status() const;

    /** Settings of each event type. */
    kavel::EventParameters& parameters() { return mParameters; }

  private:
    enum class Next { Continue, Stop };
    using Step = Next (KavelEventHandler::*)(const kavel::EventRef&);
    static const Step kSteps[];

    void logStepBack(const KavelTimestamp& arrival);

    /** Returns whether the event type is enabled. If not, nothing is built. */
    bool buildNewKavelEvent(long eventId, const KavelTimestamp* timestamp, int logInfo, int pid,
                            int uid, const char* extraInfo);

    /**
     * Adds @p event to the list and runs the steps. If the list refuses it, the record is released.
     */
    void kavelEventHandleThread(const std::shared_ptr<KavelEvent>& event);

    // The steps of the handling, in order. Each one either ends the handling or continues.
    Next uploadStatistic(const kavel::EventRef& event);
    Next showAllKavelEvents(const kavel::EventRef& event);
    Next switchVariant(const kavel::EventRef& event);
    Next recover(const kavel::EventRef& event);
    Next skipEventsWithoutLogs(const kavel::EventRef& event);
    Next collectNwatchcallLog(const kavel::EventRef& event);
    Next prepareXlogDump(const kavel::EventRef& event);
    Next catchTrailLogs(const kavel::EventRef& event);
    Next catchCommercialLogs(const kavel::EventRef& event);

    kavel::ClockWatch mClock;
    kavel::EventParameters mParameters;
    kavel::DumpContext mDump{mParameters};
    kavel::EventList mEvents;
    kavel::TrailCatcher mTrailCatcher{mDump};
    kavel::CommercialCatchers mCommercialCatchers{mEvents, mDump, mTrailCatcher};
    kavel::HangWarnings mHangWarnings{mDump};
    kavel::VariantPolicy mVariant;
};

}  // namespace android
