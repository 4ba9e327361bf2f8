#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace android::kavel {

/**
 * A queue of events, reduced to the data that pruning and matching need.
 *
 * Pruning removes events from the front until it reaches a young one. So an event is removed
 * together with all events directly after it that are not later: they form one run. Whether a
 * related event is recent enough depends only on the latest event with its id. So a run needs only
 * its time and its length, and each watched id needs only the times that will become its latest
 * one, at most one per run.
 *
 * The times of the runs increase. If aged events are pruned before each event is added, all runs
 * that are left are within the age limit of the latest event. So there are at most as many runs as
 * the limit has units, whatever the number of events. Adding and pruning take constant time on
 * average. Not synchronised.
 */
class EventDigest {
  public:
    /** @param watchedIds  ids for which latest() can be called, without duplicates */
    explicit EventDigest(const std::vector<int64_t>& watchedIds);

    /** Number of events. */
    size_t size() const { return mSize; }

    /** Appends an event. */
    void add(int64_t id, int64_t time);
    /** Removes events from the front up to the first that is not aged at the time @p now. */
    void prune(int64_t now);
    /** Returns the latest time of the events with @p id; nullopt if there are none. */
    std::optional<int64_t> latest(int64_t id) const;
    void clear();

  private:
    struct Run {
        int64_t time;  ///< of its first event; no other event of the run is later
        size_t size;
    };
    struct Peak {
        uint64_t run;
        int64_t time;
    };
    struct Watched {
        int64_t id;
        std::deque<Peak> peaks;  ///< in order of arrival; their times decrease
    };

    uint64_t lastRun() const { return mFirstRun + mRuns.size() - 1; }

    std::deque<Run> mRuns;
    uint64_t mFirstRun = 0;  ///< number of the front run, counting all runs that ever existed
    size_t mSize = 0;
    std::vector<Watched> mWatched;
};

}  // namespace android::kavel
