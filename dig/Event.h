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
    int64_t time = 0;         ///< the reporter's, in the reporter's unit
    int32_t timeout = 0;      ///< in the same unit; how far back a related event may lie
    bool isKeyEvent = false;  ///< only these are matched
    std::string name;
    std::vector<int64_t> related;  ///< ids that, seen within the timeout, make this one a freeze
};

namespace kavel {

/** How long @p then lies before @p now; the nearest int64 where the difference does not fit one. */
int64_t elapsed(int64_t now, int64_t then);

/** Whether a live event of time @p then is ripe for pruning when one of time @p now arrives. */
bool isAged(int64_t now, int64_t then);

}  // namespace kavel
}  // namespace android
