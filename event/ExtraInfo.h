#pragma once

#include <cstdint>
#include <string>

#include "event/KavelEvent.h"

namespace android::kavel {

/** What a report's extra text means for its event type. */
enum class ExtraTextForm {
    Dropped,             ///< the daemon keeps nothing of it
    Whole,               ///< one process name
    ProcessVersion,      ///< processName:P,packageVersion:V
    ProcessVersionType,  ///< processName:P,packageVersion:V,eventType:T
    ProcessType,         ///< processName:P,eventType:T
};

/** The form that event type @p eventId's extra text has. */
ExtraTextForm extraTextForm(int64_t eventId);

/**
 * Splits @p text as its event type demands. A key that is missing counts as one at position -1.
 *
 * @throws std::out_of_range if a value would start behind the end of the text
 */
KavelExtraInfo parseExtraInfo(const std::string& text, int64_t eventId);

}  // namespace android::kavel
