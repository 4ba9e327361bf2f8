#pragma once

#include <memory>

#include "dump/DumpContext.h"
#include "event/EventParameters.h"
#include "event/KavelEvent.h"
#include "handler/CommercialCatchers.h"
#include "handler/EventList.h"
#include "handler/HangWarnings.h"
#include "handler/RecoveryActions.h"
#include "handler/TrailCatcher.h"
#include "handler/VariantPolicy.h"

namespace android::kavel {

/**
 * Handles a record with a list of steps. Each step either ends the handling or continues. Runs on
 * the reporting thread; several threads may run it at once.
 */
class HandlingSteps {
  public:
    HandlingSteps(EventList& events, EventParameters& parameters, DumpContext& dump,
                  VariantPolicy& variant, TrailCatcher& trailCatcher,
                  CommercialCatchers& commercialCatchers, RecoveryActions& recovery)
          : mEvents(events),
            mParameters(parameters),
            mDump(dump),
            mVariant(variant),
            mTrailCatcher(trailCatcher),
            mCommercialCatchers(commercialCatchers),
            mHangWarnings(dump),
            mRecovery(recovery) {}

    /**
     * Adds @p event to the list and runs the steps. If the list refuses it, the record is released.
     */
    void kavelEventHandleThread(const std::shared_ptr<KavelEvent>& event);

  private:
    enum class Next { Continue, Stop };
    using Step = Next (HandlingSteps::*)(const EventRef&);
    static const Step kSteps[];

    Next uploadStatistic(const EventRef& event);
    Next showAllKavelEvents(const EventRef& event);
    Next switchVariant(const EventRef& event);
    Next recover(const EventRef& event);
    Next skipEventsWithoutLogs(const EventRef& event);
    Next collectNwatchcallLog(const EventRef& event);
    Next prepareXlogDump(const EventRef& event);
    Next catchTrailLogs(const EventRef& event);
    Next catchCommercialLogs(const EventRef& event);

    EventList& mEvents;
    EventParameters& mParameters;
    DumpContext& mDump;
    VariantPolicy& mVariant;
    TrailCatcher& mTrailCatcher;
    CommercialCatchers& mCommercialCatchers;
    HangWarnings mHangWarnings;
    RecoveryActions& mRecovery;
};

}  // namespace android::kavel
