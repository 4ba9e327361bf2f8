#pragma once

#include <string>

#include "dig/Event.h"

/** Log tag of the control socket and the matcher. */
#define KAVEL_TAG_SOCKET "kavel_socket"

namespace android {

// The raw event matcher: finds a key event that follows an event it is related to, and logs that as
// a freeze. Its lists are shared by the whole process and have no lock: use from one thread at a
// time.

/** Sets up the patterns. Call before the first raw event. */
void digInit();
void makeBaseEvets2();  // the spelling is required: callers outside use this name

/** Removes all live events and all patterns. Call after the last raw event. */
void digExit();

/** Handles one raw event "id:name:time". Logs and drops a corrupt one. Does not change @p buffer.
 */
void sendRawEvent(char* buffer);

/** Returns an event with the pattern for its id, or an ordinary event if there is no pattern. */
Event data2Event(long long id, long long time, std::string name);

/** Logs a freeze if @p now is a key event and related to one of the live events. */
void matchEvent(Event& now);

/** Adds a copy of @p event to the live events. */
void queueLiveEvents(Event& event);

}  // namespace android
