#include "dump/CommercialNotes.h"

namespace android::kavel {

void CommercialNotes::begin() {
    MutexLock lock(mLock);
    mIsCommercial = true;
}

bool CommercialNotes::isCommercial() const {
    MutexLock lock(mLock);
    return mIsCommercial;
}

void CommercialNotes::setHasRelatedEvents(bool has) {
    MutexLock lock(mLock);
    mHasRelatedEvents = has;
}

bool CommercialNotes::hasRelatedEvents() const {
    MutexLock lock(mLock);
    return mHasRelatedEvents;
}

void CommercialNotes::addRelatedEvent(const std::string& entry) {
    MutexLock lock(mLock);
    if (!mRelatedEvents) mRelatedEvents.emplace();
    mRelatedEvents->push_back(entry);
}

void CommercialNotes::joinRelatedEvents(const std::string& entry) {
    MutexLock lock(mLock);
    if (mRelatedEvents) mRelatedEvents->push_back(entry);
}

std::vector<std::string> CommercialNotes::relatedEvents() const {
    MutexLock lock(mLock);
    return mRelatedEvents.value_or(std::vector<std::string>());
}

void CommercialNotes::setLogInfo(int32_t logInfo) {
    MutexLock lock(mLock);
    mCommercialLogInfo = logInfo;
}

bool CommercialNotes::joinLogInfo(int32_t logInfo) {
    MutexLock lock(mLock);
    if (!mCommercialLogInfo) return false;
    *mCommercialLogInfo |= logInfo;
    return true;
}

int32_t CommercialNotes::logInfo() const {
    MutexLock lock(mLock);
    return mCommercialLogInfo.value_or(0);
}

}  // namespace android::kavel
