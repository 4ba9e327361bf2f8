#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "dig/Event.h"
#include "dig/EventDigest.h"

namespace android::kavel {

/**
 * The recent raw events, oldest first. Usually they are simply stored. A reporter that keeps
 * sending young events prevents pruning, so all but the newest few are stored as a digest. The
 * results are the same. Not synchronised.
 */
class LiveEvents {
  public:
    /** Number of events from which aged events are pruned. */
    static constexpr size_t kPruneFrom = 40;

    /** @param watchedIds  ids to which patterns are related; the digest keeps their events */
    explicit LiveEvents(const std::vector<int64_t>& watchedIds) : mOlder(watchedIds) {}

    size_t size() const { return mOlder.size() + mNewest.size(); }

    /**
     * Returns the id of the oldest event that @p now is related to within its timeout. An event
     * with a later time than @p now counts too. If the digest contains such events with several
     * ids, returns the id that comes first in @p now.
     */
    std::optional<int64_t> findRelated(const Event& now) const;

    /** Prunes if the list is full, then appends the id and the time of @p event. */
    void queue(const Event& event);

    void clear();

  private:
    void prune(int64_t now);

    EventDigest mOlder;
    std::deque<Event> mNewest;  ///< at most kPruneFrom
};

}  // namespace android::kavel
