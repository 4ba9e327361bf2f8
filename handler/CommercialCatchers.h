#pragma once

#include "dump/DumpContext.h"
#include "event/KavelEvent.h"
#include "handler/EventList.h"
#include "handler/TrailCatcher.h"

namespace android::kavel {

/**
 * Commercial builds: notes which events belong together and starts the dump threads. An abnormal
 * action is caught and packed; a technical event is caught, for the abnormal action next to it to
 * pack. Any thread.
 */
class CommercialCatchers {
  public:
    CommercialCatchers(const EventList& events, DumpContext& dump, TrailCatcher& trailCatcher)
          : mEvents(events), mDump(dump), mTrailCatcher(trailCatcher) {}

    // Both return as soon as the threads are started, and throw std::system_error where no thread
    // can be had.

    /** Drops the event, after its notes, where another abnormal action came right before it. */
    void commerialAbnormalActionKavelEventLogCatcher(const EventRef& event);
    void commerialTechnicalKavelEventLogCatcher(const EventRef& event);

  private:
    std::string relatedEntry(const KavelEvent& event);
    /** False where the event repeats an abnormal action. @p logInfo gains its own bits. */
    bool noteRelatedEvents(const std::vector<EventRef>& records, const EventRef& event,
                           CommercialNotes& notes, int32_t* logInfo);
    /** Adds the event to the notes of older ones; whether one of them anchors it. */
    bool joinOlderEvents(const std::vector<EventRef>& records, const EventRef& event);

    const EventList& mEvents;
    DumpContext& mDump;
    TrailCatcher& mTrailCatcher;
};

}  // namespace android::kavel
