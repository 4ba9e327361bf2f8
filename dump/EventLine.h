#pragma once

#include <string>
#include <vector>

#include "event/KavelEvent.h"

namespace android::kavel {

/** Name of the events file: one line for each event of the catch (docs/interfaces.md). */
inline constexpr const char* kEventsFile = "kavel_events.txt";

/**
 * Returns the line of the events file for @p event: a JSON object and a newline. Bytes that are not
 * UTF-8 become U+FFFD.
 *
 * @param name     that the event type was configured with
 * @param related  entries TIME@NAME: the event itself, then the older events that were noted with
 *                 it; empty if there are none
 */
std::string eventLine(const KavelEvent& event, const std::string& name,
                      const std::vector<std::string>& related = {});

}  // namespace android::kavel
