#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Mutex.h"

namespace android::kavel {

/**
 * What the commercial catchers note about one caught event. Each note is there or not, which
 * decides whether later events join it. Any thread; leaf lock.
 */
class CommercialNotes {
  public:
    /** Marks the catch as a commercial one, whose threads may have to find their own folder. */
    void begin();
    bool isCommercial() const;

    void setHasRelatedEvents(bool has);
    bool hasRelatedEvents() const;  ///< for readers of the notes: the pack is the same either way

    /** Adds TIME@NAME of a related event; the catch's own event comes first. */
    void addRelatedEvent(const std::string& entry);
    /** The same where there is a list already; else nothing. */
    void joinRelatedEvents(const std::string& entry);
    std::vector<std::string> relatedEvents() const;

    void setLogInfo(int32_t logInfo);
    /** Adds to the log-selection bits where there are any; false where there are none. */
    bool joinLogInfo(int32_t logInfo);
    /** The log-selection bits that the pack must honour; 0 where none were ever set. */
    int32_t logInfo() const;

  private:
    mutable Mutex mLock;
    bool mIsCommercial GUARDED_BY(mLock) = false;
    bool mHasRelatedEvents GUARDED_BY(mLock) = false;
    std::optional<std::vector<std::string>> mRelatedEvents GUARDED_BY(mLock);
    std::optional<int32_t> mCommercialLogInfo GUARDED_BY(mLock);
};

}  // namespace android::kavel
