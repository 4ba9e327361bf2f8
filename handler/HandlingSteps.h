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
 * What happens to a record once it is built: a list of steps, each of which ends the handling or
 * lets it go on. Runs on the reporting thread; several may run at once.
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

    /** Places @p event in the list and takes it through the steps. A refused one is released. */
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
