#include "handler/EventList.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>

#include "event/KavelTimestamp.h"
#include "platform/Log.h"
#include "platform/TraceSection.h"

namespace android::kavel {
namespace {

/** Calls @p visit for each record of the ring, once, starting at the head. */
template <typename Visit>
void walkRing(const std::shared_ptr<KavelEvent>& head, Visit visit) {
    if (head == nullptr) return;
    const std::shared_ptr<KavelEvent>* record = &head;
    do {
        if (!visit(*record)) return;
        record = &(*record)->next;
    } while (*record != head);
}

}  // namespace

bool isDuplicateAbnormalAction(const KavelEvent& present, const KavelEvent& added, double* gap) {
    if (!present.type.isAbnormalAction() || !added.type.isAbnormalAction()) return false;
    // If the present record has a later time than the new one, the gap is negative and counts too.
    *gap = secondsBetween(present.timestamp, added.timestamp);
    return *gap < kDuplicateWindow;
}

EventList::~EventList() {
    MutexLock lock(mLock);
    if (mKavelEventList != nullptr) tailLocked()->next.reset();
    // One by one: a chain of owners would be freed by recursion.
    while (mKavelEventList != nullptr) mKavelEventList = std::move(mKavelEventList->next);
}

bool EventList::place(const std::shared_ptr<KavelEvent>& event) {
    const TraceSection trace("placeKavelEvent");
    std::shared_ptr<KavelEvent> evicted;  // freed after the lock is released
    MutexLock lock(mLock);
    if (isRefusedLocked(*event)) return false;
    event->kavelEventId = generateKavelEventIdLocked();
    appendLocked(event);
    if (mKavelEventCount > int32_t{kEventListSize}) evicted = evictHeadLocked();
    return true;
}

bool EventList::isRefusedLocked(const KavelEvent& event) const {
    if (!event.type.isAbnormalAction()) return false;
    bool refused = false;
    walkRing(mKavelEventList, [&](const std::shared_ptr<KavelEvent>& present) {
        // Tools that read the log depend on the spelling "commerial".
        KAVEL_LOGI(KAVEL_TAG_BINDER,
                   "[placeKavelEvent]: in commerialAbnormalActionKavelEventLogCatcher loop.\n");
        double gap = 0;
        refused = isDuplicateAbnormalAction(*present, event, &gap);
        if (refused) {
            KAVEL_LOGI(KAVEL_TAG_BINDER,
                       "[placeKavelEvent]: Event dumped since duplicate abnormal action, difftime "
                       "%f.\n",
                       gap);
        }
        return !refused;
    });
    return refused;
}

void EventList::appendLocked(const std::shared_ptr<KavelEvent>& event) {
    if (mKavelEventList == nullptr) {
        mKavelEventList = event;
        event->next = event;
    } else {
        event->next = mKavelEventList;
        tailLocked()->next = event;
    }
    ++mKavelEventCount;
}

KavelEvent* EventList::tailLocked() const {
    KavelEvent* record = mKavelEventList.get();
    while (record->next != mKavelEventList) record = record->next.get();
    return record;
}

std::shared_ptr<KavelEvent> EventList::evictHeadLocked() {
    KavelEvent* const tail = tailLocked();
    std::shared_ptr<KavelEvent> head = std::move(mKavelEventList);
    mKavelEventList = std::move(head->next);
    tail->next = mKavelEventList;
    --mKavelEventCount;
    mEvicted.push_back(head);
    return head;
}

int32_t EventList::generateKavelEventIdLocked() {
    mEvicted.erase(std::remove_if(mEvicted.begin(), mEvicted.end(),
                                  [](const auto& evicted) { return evicted.expired(); }),
                   mEvicted.end());
    srand(static_cast<unsigned int>(time(nullptr)));
    int32_t id = rand();
    while (isTakenLocked(id)) id = rand();
    return id;
}

bool EventList::isTakenLocked(int32_t id) const {
    const auto hasId = [id](const std::weak_ptr<const KavelEvent>& evicted) {
        const EventRef held = evicted.lock();
        return held != nullptr && held->kavelEventId == id;
    };
    bool isTaken = std::any_of(mEvicted.begin(), mEvicted.end(), hasId);
    walkRing(mKavelEventList, [&](const auto& record) {
        isTaken = isTaken || record->kavelEventId == id;
        return !isTaken;
    });
    return isTaken;
}

std::vector<EventRef> EventList::records() const {
    MutexLock lock(mLock);
    std::vector<EventRef> records;
    records.reserve(static_cast<size_t>(mKavelEventCount));
    walkRing(mKavelEventList, [&](const std::shared_ptr<KavelEvent>& record) {
        records.push_back(record);
        return true;
    });
    return records;
}

std::vector<EventRef> EventList::ringFrom(const EventRef& main) const {
    std::vector<EventRef> ring = records();
    const auto first = std::find(ring.begin(), ring.end(), main);
    if (first == ring.end()) {
        ring.insert(ring.begin(), main);
    } else {
        std::rotate(ring.begin(), first, ring.end());
    }
    return ring;
}

}  // namespace android::kavel
