#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "event/KavelEvent.h"
#include "platform/Mutex.h"

namespace android::kavel {

/** The abnormal actions that come within so many seconds of another one are the same incident. */
inline constexpr double kDuplicateWindow = 30.0;

/** Whether @p added repeats the abnormal action @p present. @p gap receives the seconds between. */
bool isDuplicateAbnormalAction(const KavelEvent& present, const KavelEvent& added, double* gap);

/**
 * The last reported events: a ring of at most 31 records through KavelEvent::next, oldest first.
 * Each record owns its successor. Any thread; the lock is held for list work alone.
 */
class EventList {
  public:
    EventList() = default;
    ~EventList();
    EventList(const EventList&) = delete;
    EventList& operator=(const EventList&) = delete;

    /**
     * Gives @p event a fresh record id and puts it at the tail; the 32nd record pushes the oldest
     * one out. False, and no change, for an abnormal action that repeats one in the list.
     */
    bool place(const std::shared_ptr<KavelEvent>& event);

    /**
     * A random id that no record in the list has, nor any that was pushed out and is still held by
     * a running catch.
     */
    int32_t generateKavelEventId();

    /** The records, oldest first. */
    std::vector<EventRef> records() const;
    /** @p main, then the other records, from the one after it. All of them if it has left the list.
     */
    std::vector<EventRef> ringFrom(const EventRef& main) const;
    bool isEmpty() const;

  private:
    bool isRefusedLocked(const KavelEvent& event) const REQUIRES(mLock);
    int32_t generateKavelEventIdLocked() REQUIRES(mLock);
    void appendLocked(const std::shared_ptr<KavelEvent>& event) REQUIRES(mLock);
    std::shared_ptr<KavelEvent> evictHeadLocked() REQUIRES(mLock);
    KavelEvent* tailLocked() const REQUIRES(mLock);

    mutable Mutex mLock;
    std::shared_ptr<KavelEvent> mKavelEventList GUARDED_BY(mLock);  // the head
    int32_t mKavelEventCount GUARDED_BY(mLock) = 0;
    std::vector<std::weak_ptr<const KavelEvent>> mEvicted GUARDED_BY(mLock);
};

}  // namespace android::kavel
