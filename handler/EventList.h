#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "event/KavelEvent.h"
#include "platform/Mutex.h"

namespace android::kavel {

/** Seconds during which a further abnormal action is part of the same incident. */
inline constexpr double kDuplicateWindow = 30.0;

/**
 * Whether @p added repeats the abnormal action @p present. Stores the seconds between them in @p
 * gap.
 */
bool isDuplicateAbnormalAction(const KavelEvent& present, const KavelEvent& added, double* gap);

/**
 * The latest events: a ring of at most kEventListSize records, linked by KavelEvent::next, oldest
 * first. Each record owns its successor. Any thread; the lock is held only for operations on the
 * list.
 */
class EventList {
  public:
    EventList() = default;
    ~EventList();
    EventList(const EventList&) = delete;
    EventList& operator=(const EventList&) = delete;

    /**
     * Gives @p event a new record id and appends it. A full list removes its oldest record.
     * Returns false, and changes nothing, if @p event is an abnormal action that repeats one in the
     * list.
     */
    bool place(const std::shared_ptr<KavelEvent>& event);

    /** Returns the records, oldest first. */
    std::vector<EventRef> records() const;
    /**
     * Returns the records, rotated so that @p main is first; all records in order if it is no
     * longer in the list.
     */
    std::vector<EventRef> ringFrom(const EventRef& main) const;

  private:
    bool isRefusedLocked(const KavelEvent& event) const REQUIRES(mLock);
    /**
     * Returns a random id that no record in the list has, and no removed record that a running
     * catch still holds.
     */
    int32_t generateKavelEventIdLocked() REQUIRES(mLock);
    bool isTakenLocked(int32_t id) const REQUIRES(mLock);
    void appendLocked(const std::shared_ptr<KavelEvent>& event) REQUIRES(mLock);
    std::shared_ptr<KavelEvent> evictHeadLocked() REQUIRES(mLock);
    KavelEvent* tailLocked() const REQUIRES(mLock);

    mutable Mutex mLock;
    std::shared_ptr<KavelEvent> mKavelEventList GUARDED_BY(mLock);  // the head
    int32_t mKavelEventCount GUARDED_BY(mLock) = 0;
    std::vector<std::weak_ptr<const KavelEvent>> mEvicted GUARDED_BY(mLock);
};

}  // namespace android::kavel
