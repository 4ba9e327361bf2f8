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
 * The recent raw events, oldest first. Ordinarily they are just kept. A reporter that sends young
 * events without end never lets them be pruned, so all but the newest few are kept as a digest; the
 * answers are the same. Not synchronised.
 */
class LiveEvents {
  public:
    /** From this size on, aged events are pruned. */
    static constexpr size_t kPruneFrom = 40;

    /** @param watchedIds  the ids that patterns are related to: what has them is never forgotten */
    explicit LiveEvents(const std::vector<int64_t>& watchedIds) : mOlder(watchedIds) {}

    size_t size() const { return mOlder.size() + mNewest.size(); }

    /**
     * The id of the oldest event that @p now is related to within its timeout; an event that is
     * stamped later than @p now counts. Where the digest holds such events of several ids, the id
     * that @p now names first.
     */
    std::optional<int64_t> findRelated(const Event& now) const;

    /** Prunes where the list is full, then appends @p event: its id and its time. */
    void queue(const Event& event);

    void clear();

  private:
    void prune(int64_t now);

    EventDigest mOlder;
    std::deque<Event> mNewest;  ///< at most kPruneFrom
};

}  // namespace android::kavel
