#pragma once

#include <string>

#include "event/KavelEvent.h"

namespace android::kavel {

/** Returns the current local time. Any thread. */
KavelTimestamp generateKavelTimestamp();

/**
 * Returns the time as in folder names, history lines and statistics: year, month, day, hour,
 * minute, second and millisecond, joined by "-". A field that is too wide is cut.
 */
std::string kavelTimeStampToString(const KavelTimestamp& timestamp);

/**
 * Returns the seconds from @p earlier to @p later by their broken-down local times. Ignores the
 * milliseconds.
 */
double secondsBetween(const KavelTimestamp& earlier, const KavelTimestamp& later);

}  // namespace android::kavel
