#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace android::kavel {

/**
 * A queue of events, kept as what pruning and matching can still ask of them.
 *
 * Pruning takes events from the front until it meets a young one, so an event leaves together with
 * all that stand right behind it and are not later than it: they form one run. Whether a related
 * event is recent enough depends on the latest one of its id alone. Hence a run is its time and its
 * length, and each watched id has the times that will in turn be its latest, one per run at most.
 *
 * The times of the runs rise. As long as each event, before it is queued, prunes those that have
 * aged by then, all runs that the latest one found lie within the age limit of it: there are no
 * more runs than the limit has units, however many events there are. Adding and pruning cost the
 * same on average at any size. Not synchronised.
 */
class EventDigest {
  public:
    /** @param watchedIds  the ids, each once, that latest() will be asked for */
    explicit EventDigest(const std::vector<int64_t>& watchedIds);

    /** How many events there are. */
    size_t size() const { return mSize; }
    /** How many entries they are kept as, which is what they cost. */
    size_t entries() const;

    /** Appends an event. */
    void add(int64_t id, int64_t time);
    /** Removes events from the front up to the first that is not aged at the time @p now. */
    void prune(int64_t now);
    /** The latest time of the events with @p id. */
    std::optional<int64_t> latest(int64_t id) const;
    void clear();

  private:
    struct Run {
        int64_t time;  ///< of its first event, which none of the others exceeds
        size_t size;
    };
    struct Peak {
        uint64_t run;
        int64_t time;
    };
    struct Watched {
        int64_t id;
        std::deque<Peak> peaks;  ///< in order of arrival, and each earlier in time than the last
    };

    uint64_t lastRun() const { return mFirstRun + mRuns.size() - 1; }

    std::deque<Run> mRuns;
    uint64_t mFirstRun = 0;  ///< the number of the run at the front, counting all there ever were
    size_t mSize = 0;
    std::vector<Watched> mWatched;
};

}  // namespace android::kavel
