#pragma once

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

  private:
    mutable Mutex mLock;
    LogFolderRef mFolder GUARDED_BY(mLock);
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
