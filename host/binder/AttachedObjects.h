#pragma once

#include <binder/IBinder.h>
#include <utils/Mutex.h>

#include <map>

namespace android::kavel::host {

/** What users attach to a binder: freed with it, through their own clean-up. Thread-safe. */
class AttachedObjects {
  public:
    AttachedObjects() = default;
    AttachedObjects(const AttachedObjects&) = delete;
    AttachedObjects& operator=(const AttachedObjects&) = delete;
    ~AttachedObjects();

    /** Keeps @p object under @p id; refused with a log line where the id is taken. */
    void attach(const void* id, void* object, void* cookie, IBinder::object_cleanup_func cleanup);
    /** The object under @p id, or null. */
    void* find(const void* id) const;
    /** Forgets @p id without calling its clean-up. */
    void detach(const void* id);

  private:
    struct Entry {
        void* object;
        void* cookie;
        IBinder::object_cleanup_func cleanup;
    };

    mutable Mutex mLock;
    std::map<const void*, Entry> mEntries GUARDED_BY(mLock);
};

}  // namespace android::kavel::host
