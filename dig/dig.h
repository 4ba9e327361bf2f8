#pragma once

#include <string>

#include "dig/Event.h"

namespace android {

// The raw event matcher: finds a key event that follows an event it is related to and logs that as
// a freeze. Its lists are process-wide and have no lock: one thread at a time.

/** Sets up the patterns; before the first record. */
void digInit();
void makeBaseEvets2();  // spelt so on purpose: the name is known outside

/** Forgets all live events and all patterns; after the last record. */
void digExit();

/** Handles one record "id:name:time"; a corrupt one is logged and dropped. @p buffer stays as is.
 */
void sendRawEvent(char* buffer);

/** An event as its pattern says, or an ordinary one where no pattern has its id. */
Event data2Event(long long id, long long time, std::string name);

/** Logs a freeze where @p now is a key event and related to one of the live events. */
void matchEvent(Event& now);

/** Keeps a copy of @p event for the events to come. */
void queueLiveEvents(Event& event);

}  // namespace android
