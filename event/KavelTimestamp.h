#pragma once

#include <string>

#include "event/KavelEvent.h"

namespace android::kavel {

/** The current local time. Any thread. */
KavelTimestamp generateKavelTimestamp();

/**
 * The time text of folder names, history lines and statistics: year, month, day, hour, minute,
 * second and millisecond joined by "-". A field too wide for its place is cut.
 */
std::string kavelTimeStampToString(const KavelTimestamp& timestamp);

/** Seconds from @p earlier to @p later by their broken-down local times; milliseconds play no part.
 */
double secondsBetween(const KavelTimestamp& earlier, const KavelTimestamp& later);

}  // namespace android::kavel
