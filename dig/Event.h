#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace android {

/** A raw event, or a pattern that raw events are matched against. */
struct Event {
    /** Prints one line to standard output. */
    ~Event();

    int64_t id = 0;
    int64_t time = 0;         ///< time of the reporter, in the reporter's unit
    int32_t timeout = 0;      ///< in the same unit; maximum age of a related event
    bool isKeyEvent = false;  ///< only key events are matched
    std::string name;
    std::vector<int64_t> related;  ///< ids that make this a freeze if seen within the timeout
};

namespace kavel {

/** Returns @p now - @p then, limited to the range of int64. */
int64_t elapsed(int64_t now, int64_t then);

/** Whether a live event of time @p then can be pruned when an event of time @p now arrives. */
bool isAged(int64_t now, int64_t then);

}  // namespace kavel
}  // namespace android
