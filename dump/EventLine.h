#pragma once

#include <string>

#include "event/KavelEvent.h"

namespace android::kavel {

/** File of a log folder with one line for each event of the catch (docs/interfaces.md). */
inline constexpr const char* kEventsFile = "kavel_events.txt";

/**
 * What the events file says of @p event, of the type called @p name: a JSON object and a newline.
 * Bytes that are not UTF-8 become U+FFFD.
 */
std::string eventLine(const KavelEvent& event, const std::string& name);

}  // namespace android::kavel
