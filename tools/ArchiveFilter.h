#pragma once

#include <optional>
#include <string>

#include "tools/Collection.h"
#include "tools/CommandLine.h"

namespace android::kavel::tools {

inline constexpr Option kEventOption{
        "event", "EVENT",
        "only archives with an event of this type: an id, a name in the table of 'kavelctl explain "
        "--event', or the name that the type was configured with"};
inline constexpr Option kProcessOption{"process", "P", "only archives with an event of process P"};

/**
 * Conditions of archives. The events of an archive are in its contents: a window's archive has
 * events of several processes, of which its name has the first.
 */
class ArchiveFilter {
  public:
    /** From --event, --process, --since and --until; missing ones are always met. */
    explicit ArchiveFilter(const Arguments& arguments);

    /** Whether matches() looks at the contents. */
    bool needsContents() const { return mEvent || mProcess; }
    bool matchesTime(int64_t utcMs) const { return mSinceMs <= utcMs && utcMs < mUntilMs; }
    /** Whether the event and the process match. */
    bool matches(const Archive& archive) const;

  private:
    bool isEvent(const Json::Value& event) const;

    std::optional<std::string> mEvent;
    std::optional<int64_t> mEventId;  ///< if mEvent is a number
    std::optional<int64_t> mFirstId;  ///< of the row in the table of event types, if it is a name
    std::optional<std::string> mProcess;
    int64_t mSinceMs;
    int64_t mUntilMs;
};

}  // namespace android::kavel::tools
