#include "dump/TechnicalCatches.h"

#include <algorithm>

namespace android::kavel {

std::vector<CatchRef> TechnicalCatches::keep(const CatchRef& running, int64_t nowNs) {
    std::vector<CatchRef> pushedOut;
    MutexLock lock(mLock);
    mKept.push_back({running, nowNs});
    while (mKept.size() > kMost ||
           (mKept.size() > kUsual && nowNs - mKept.front().sinceNs > kClaimTimeNs)) {
        pushedOut.push_back(std::move(mKept.front().running));
        mKept.pop_front();
    }
    return pushedOut;
}

CatchRef TechnicalCatches::claim(const EventRef& event) {
    MutexLock lock(mLock);
    const auto kept = std::find_if(mKept.begin(), mKept.end(), [&](const Kept& candidate) {
        return candidate.running->event == event;
    });
    if (kept == mKept.end()) return nullptr;
    CatchRef claimed = std::move(kept->running);
    mKept.erase(kept);
    return claimed;
}

}  // namespace android::kavel
