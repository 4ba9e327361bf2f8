#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Mutex.h"

namespace android::kavel {

/**
 * Notes of the commercial catchers about one caught event. A note may be missing, which determines
 * whether later events join the catch. Any thread; leaf lock.
 */
class CommercialNotes {
  public:
    /** Marks the catch as commercial: a dump thread may have to create its folder. */
    void begin();
    bool isCommercial() const;

    void setHasRelatedEvents(bool has);
    bool hasRelatedEvents() const;  ///< for readers of the events file; does not change the pack

    /** Adds TIME@NAME of a related event. The first entry must be the catch's own event. */
    void addRelatedEvent(const std::string& entry);
    /** Adds an entry if the list exists; otherwise does nothing. */
    void joinRelatedEvents(const std::string& entry);
    std::vector<std::string> relatedEvents() const;

    void setLogInfo(int32_t logInfo);
    /** Adds to the log-selection bits if they were set. Returns false if they were not. */
    bool joinLogInfo(int32_t logInfo);
    /** Returns the log-selection bits that apply to the pack; 0 if none were set. */
    int32_t logInfo() const;

  private:
    mutable Mutex mLock;
    bool mIsCommercial GUARDED_BY(mLock) = false;
    bool mHasRelatedEvents GUARDED_BY(mLock) = false;
    std::optional<std::vector<std::string>> mRelatedEvents GUARDED_BY(mLock);
    std::optional<int32_t> mCommercialLogInfo GUARDED_BY(mLock);
};

}  // namespace android::kavel
