#pragma once

#include <string>
#include <string_view>

#include "desk/model/ThreadDump.h"

namespace kaveldesk {

/** What a thread did when its stack was taken. */
enum class Doing : uint8_t {
    Unknown,
    Idle,
    Runs,
    WaitsForLock,
    BinderCall,
    Sleeps,
    Waits,
    Io,
    Network,
    Gc
};

struct Activity {
    Doing doing = Doing::Unknown;
    std::string_view words;        // continues "the thread": "sleeps"
    const Frame* frame = nullptr;  // the frame that shows it; null if the state shows it
};

/** Reads the state and the top frames of @p thread. */
Activity activityOf(const Thread& thread);

/** "thread "name" (tid 5)", or "the main thread". */
std::string nameOf(const ThreadDump& dump, const Thread& thread);

/** The main thread of a dump; null if it is not in there. */
const Thread* mainThread(const ThreadDump& dump);

}  // namespace kaveldesk
