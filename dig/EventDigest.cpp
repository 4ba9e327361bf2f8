#include "dig/EventDigest.h"

#include <algorithm>

#include "dig/Event.h"

namespace android::kavel {

EventDigest::EventDigest(const std::vector<int64_t>& watchedIds) {
    for (const int64_t id : watchedIds) mWatched.push_back({id, {}});
}

void EventDigest::add(int64_t id, int64_t time) {
    if (mRuns.empty() || time > mRuns.back().time) mRuns.push_back({time, 0});
    ++mRuns.back().size;
    ++mSize;

    const auto watched = std::find_if(mWatched.begin(), mWatched.end(),
                                      [id](const Watched& entry) { return entry.id == id; });
    if (watched == mWatched.end()) return;
    std::deque<Peak>& peaks = watched->peaks;
    while (!peaks.empty() && peaks.back().time <= time) peaks.pop_back();
    // An event that is pruned together with a later one is never the latest.
    if (peaks.empty() || peaks.back().run != lastRun()) peaks.push_back({lastRun(), time});
}

void EventDigest::prune(int64_t now) {
    while (!mRuns.empty() && isAged(now, mRuns.front().time)) {
        mSize -= mRuns.front().size;
        mRuns.pop_front();
        ++mFirstRun;
    }
    for (Watched& watched : mWatched) {
        std::deque<Peak>& peaks = watched.peaks;
        while (!peaks.empty() && peaks.front().run < mFirstRun) peaks.pop_front();
    }
}

std::optional<int64_t> EventDigest::latest(int64_t id) const {
    for (const Watched& watched : mWatched) {
        if (watched.id == id && !watched.peaks.empty()) return watched.peaks.front().time;
    }
    return std::nullopt;
}

void EventDigest::clear() {
    mRuns.clear();
    mSize = 0;
    for (Watched& watched : mWatched) watched.peaks.clear();
}

}  // namespace android::kavel
