#pragma once

#include <string>
#include <vector>

#include "event/KavelEvent.h"

namespace android::kavel {

// What the dump threads need of the handler, which defines it.

/** Makes a log folder for @p event, named by the usual rule, and returns its path. */
std::string makeLogFolder(const KavelEvent& event);

/** The event list as it is now, @p main first; a main record that has left it is alone. */
std::vector<EventRef> eventRing(const EventRef& main);

}  // namespace android::kavel
