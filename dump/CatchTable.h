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

/**
 * One event on its way to an archive. Lives as long as any thread or command of the catch holds it.
 */
class Catch {
  public:
    Catch(EventRef record, DumpContext& dumpContext)
          : event(std::move(record)), context(dumpContext) {}

    const EventRef event;
    DumpContext& context;
    CommercialNotes commercial;

    /** Where the logs of the catch go. Null until a folder is made for it. */
    LogFolderRef folder() const {
        MutexLock lock(mLock);
        return mFolder;
    }
    void setFolder(LogFolderRef folder) {
        MutexLock lock(mLock);
        mFolder = std::move(folder);
    }

    /** Marks the first round as begun in the folder, which from then on knows its work. */
    void beginFirstRound() {
        MutexLock lock(mLock);
        mHasBegun = true;
        mBegun.notify_all();
    }
    /** Waits for that, for up to @p patience. */
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
 * The catches in flight, by record id. An entry goes with the last holder of its catch, so the
 * table is empty when nothing is being caught. Must outlive its catches. Any thread; leaf lock.
 */
class CatchTable {
  public:
    /** @param context  of the catches; must outlive them */
    explicit CatchTable(DumpContext& context) : mContext(context) {}

    /** Makes @p event reachable by its id. The same record twice shares one catch. */
    CatchRef add(const EventRef& event);
    /** The catch of that record, or null. */
    CatchRef find(int32_t kavelEventId) const;
    size_t size() const;

  private:
    void remove(const Catch& ended);

    DumpContext& mContext;
    mutable Mutex mLock;
    std::map<int32_t, std::weak_ptr<Catch>> mCatches GUARDED_BY(mLock);
};

}  // namespace android::kavel
