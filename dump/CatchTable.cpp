#include "dump/CatchTable.h"

namespace android::kavel {

CatchRef CatchTable::add(const EventRef& event) {
    CatchRef added(new Catch(event, mContext), [this](Catch* ended) {
        // The record is alive until the entry is removed, so no other record has its id.
        remove(*ended);
        delete ended;
    });
    CatchRef present;  // like `added`, destroyed without the lock, which the end of a catch takes
    MutexLock lock(mLock);
    std::weak_ptr<Catch>& entry = mCatches[event->kavelEventId];
    present = entry.lock();
    if (present != nullptr && present->event == event) return present;
    entry = added;
    return added;
}

CatchRef CatchTable::find(int32_t kavelEventId) const {
    MutexLock lock(mLock);
    const auto entry = mCatches.find(kavelEventId);
    return entry == mCatches.end() ? nullptr : entry->second.lock();
}

void CatchTable::remove(const Catch& ended) {
    MutexLock lock(mLock);
    const auto entry = mCatches.find(ended.event->kavelEventId);
    // An entry that has not expired belongs to a later catch with the same id.
    if (entry != mCatches.end() && entry->second.expired()) mCatches.erase(entry);
}

}  // namespace android::kavel
