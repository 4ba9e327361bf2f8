#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace android::kavel::test {

/** The matcher's rules at their plainest: one list, walked from its front, that only pruning cuts.
 */
class PlainLists {
  public:
    /** Matches an event, then queues it. The id of the live event that it makes a freeze with. */
    std::optional<int64_t> send(int64_t id, int64_t time) {
        const std::optional<int64_t> found = match(id, time);
        queue(id, time);
        return found;
    }
    size_t size() const { return mLive.size(); }

  private:
    struct Live {
        int64_t id;
        int64_t time;
    };

    // Wider than the times, so that a difference always fits.
    static __int128 age(int64_t now, int64_t then) { return __int128{now} - then; }

    std::optional<int64_t> match(int64_t id, int64_t time) const {
        int64_t related = 0;
        if (id == 0x100300001 || id == 0x100300003) related = 0x100300002;
        if (id == 0x100300006) related = 0x100300006;
        if (related == 0) return std::nullopt;
        for (const Live& live : mLive) {
            if (age(time, live.time) < 6000 && live.id == related) return live.id;
        }
        return std::nullopt;
    }

    void queue(int64_t id, int64_t time) {
        if (mLive.size() >= 40) {
            auto young = mLive.begin();
            while (young != mLive.end() && age(time, young->time) >= 10001) ++young;
            mLive.erase(mLive.begin(), young);
        }
        mLive.push_back({id, time});
    }

    std::vector<Live> mLive;
};

}  // namespace android::kavel::test
