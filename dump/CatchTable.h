#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>

#include "dump/CommercialNotes.h"
#include "dump/LogFolder.h"
#include "event/KavelEvent.h"
#include "platform/Mutex.h"

namespace android::kavel {

struct DumpContext;

/** Collection of the logs of one event. Lives as long as a dump thread or a command holds it. */
class Catch {
  public:
    Catch(EventRef record, DumpContext& dumpContext)
          : event(std::move(record)), context(dumpContext) {}

    const EventRef event;
    DumpContext& context;
    CommercialNotes commercial;

    /** Returns the folder for the logs of the catch; null if it has none yet. */
    LogFolderRef folder() const {
        MutexLock lock(mLock);
        return mFolder;
    }
    void setFolder(LogFolderRef folder) {
        MutexLock lock(mLock);
        mFolder = std::move(folder);
    }

    /** Marks the first round as begun: from now on it is work of the folder. */
    void beginFirstRound() {
        MutexLock lock(mLock);
        mHasBegun = true;
        mBegun.notify_all();
    }
    /** Waits until the first round has begun, for at most @p patience. */
    void awaitFirstRound(std::chrono::milliseconds patience) {
        const auto end = std::chrono::steady_clock::now() + patience;
        MutexLock lock(mLock);
        while (!mHasBegun && lock.waitUntil(mBegun, end)) {
        }
    }

  private:
    mutable Mutex mLock;
    std::condition_variable mBegun;
    LogFolderRef mFolder GUARDED_BY(mLock);
    bool mHasBegun GUARDED_BY(mLock) = false;
};

using CatchRef = std::shared_ptr<Catch>;

/**
 * The running catches, by record id. An entry is removed with its catch, so the table is empty if
 * nothing is being caught. Must outlive its catches. Any thread; leaf lock.
 */
class CatchTable {
  public:
    /** @param context  passed to each catch; must outlive them all */
    explicit CatchTable(DumpContext& context) : mContext(context) {}

    /** Adds a catch for @p event, or returns the one that the record already has. */
    CatchRef add(const EventRef& event);
    /** Returns the catch of that record, or null. */
    CatchRef find(int32_t kavelEventId) const;

  private:
    void remove(const Catch& ended);

    DumpContext& mContext;
    mutable Mutex mLock;
    std::map<int32_t, std::weak_ptr<Catch>> mCatches GUARDED_BY(mLock);
};

}  // namespace android::kavel
