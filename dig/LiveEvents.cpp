#include "dig/LiveEvents.h"

#include <algorithm>

namespace android::kavel {

std::optional<int64_t> LiveEvents::findRelated(const Event& now) const {
    const auto isRecent = [&now](int64_t time) { return elapsed(now.time, time) < now.timeout; };
    for (const int64_t id : now.related) {
        const std::optional<int64_t> latest = mOlder.latest(id);
        if (latest && isRecent(*latest)) return id;
    }
    const std::vector<int64_t>& related = now.related;
    for (const Event& live : mNewest) {
        const bool isRelated = std::find(related.begin(), related.end(), live.id) != related.end();
        if (isRelated && isRecent(live.time)) return live.id;
    }
    return std::nullopt;
}

void LiveEvents::queue(const Event& event) {
    if (size() >= kPruneFrom) prune(event.time);
    if (mNewest.size() == kPruneFrom) {
        mOlder.add(mNewest.front().id, mNewest.front().time);
        mNewest.pop_front();
    }
    // Copy only the fields that are used: copying the others would take longer.
    Event& live = mNewest.emplace_back();
    live.id = event.id;
    live.time = event.time;
}

void LiveEvents::prune(int64_t now) {
    mOlder.prune(now);
    if (mOlder.size() > 0) return;  // a young event also protects all events after it
    while (!mNewest.empty() && isAged(now, mNewest.front().time)) mNewest.pop_front();
}

void LiveEvents::clear() {
    mOlder.clear();
    mNewest.clear();
}

}  // namespace android::kavel
