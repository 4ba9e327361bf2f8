#include "dump/CatchTable.h"

namespace android::kavel {

CatchRef CatchTable::add(const EventRef& event) {
    CatchRef added(new Catch(event, mContext), [this](Catch* ended) {
        // The record is alive until the entry is gone, so its id has not been given to another.
        remove(*ended);
        delete ended;
    });
    CatchRef present;  // as `added`, let go after the lock: its end takes the lock
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

size_t CatchTable::size() const {
    MutexLock lock(mLock);
    return mCatches.size();
}

void CatchTable::remove(const Catch& ended) {
    MutexLock lock(mLock);
    const auto entry = mCatches.find(ended.event->kavelEventId);
    // An entry that is not expired belongs to a catch that was added over this one.
    if (entry != mCatches.end() && entry->second.expired()) mCatches.erase(entry);
}

}  // namespace android::kavel
