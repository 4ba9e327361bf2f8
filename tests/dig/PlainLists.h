#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace android::kavel::test {

/** The matcher's rules in their simplest form: one list, which only pruning makes shorter. */
class PlainLists {
  public:
    /** Matches an event, then queues it. Returns the id of the live event that makes a freeze. */
    std::optional<int64_t> send(int64_t id, int64_t time) {
        int64_t related = 0;
        if (id == 0x100300001 || id == 0x100300003) related = 0x100300002;
        if (id == 0x100300006) related = 0x100300006;
        const bool isFreeze = std::any_of(mLive.begin(), mLive.end(), [&](const auto& live) {
            return related != 0 && live.first == related && age(time, live.second) < 6000;
        });
        if (mLive.size() >= 40) {
            mLive.erase(mLive.begin(),
                        std::find_if(mLive.begin(), mLive.end(), [&](const auto& live) {
                            return age(time, live.second) < 10001;
                        }));
        }
        mLive.emplace_back(id, time);
        return isFreeze ? std::optional(related) : std::nullopt;
    }
    size_t size() const { return mLive.size(); }

  private:
    // Wider than the times, so that a difference always fits.
    static __int128 age(int64_t now, int64_t then) { return __int128{now} - then; }

    std::vector<std::pair<int64_t, int64_t>> mLive;  ///< id and time
};

}  // namespace android::kavel::test
