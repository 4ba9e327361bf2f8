#pragma once

#include "dump/DumpContext.h"
#include "event/KavelEvent.h"
#include "handler/EventList.h"
#include "handler/TrailCatcher.h"

namespace android::kavel {

/**
 * Catchers of commercial builds: note which events belong together and start the dump threads. An
 * abnormal action is caught and packed. A technical event is only caught: an abnormal action near
 * it packs its folder. Any thread.
 */
class CommercialCatchers {
  public:
    CommercialCatchers(const EventList& events, DumpContext& dump, TrailCatcher& trailCatcher)
          : mEvents(events), mDump(dump), mTrailCatcher(trailCatcher) {}

    // Both functions return as soon as the threads have started, and throw std::system_error if no
    // thread can be created. The spelling "commerial" is required: the names are part of the
    // interface.

    /**
     * Drops the event, after its notes are written, if another abnormal action was reported shortly
     * before.
     */
    void commerialAbnormalActionKavelEventLogCatcher(const EventRef& event);
    void commerialTechnicalKavelEventLogCatcher(const EventRef& event);

  private:
    std::string relatedEntry(const KavelEvent& event);
    /**
     * Returns false if the event repeats an abnormal action. Adds the event's own bits to @p
     * logInfo.
     */
    bool noteRelatedEvents(const std::vector<EventRef>& records, const EventRef& event,
                           CommercialNotes& notes, int32_t* logInfo);
    /**
     * Adds the event to the notes of older events. Returns whether it has joined the catch of one.
     */
    bool joinOlderEvents(const std::vector<EventRef>& records, const EventRef& event);

    const EventList& mEvents;
    DumpContext& mDump;
    TrailCatcher& mTrailCatcher;
};

}  // namespace android::kavel
