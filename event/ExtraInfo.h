#pragma once

#include <cstdint>
#include <string>

#include "event/KavelEvent.h"

namespace android::kavel {

/** Meaning of a report's extra text for its event type. */
enum class ExtraTextForm {
    Dropped,             ///< ignored
    Whole,               ///< one process name
    ProcessVersion,      ///< processName:P,packageVersion:V
    ProcessVersionType,  ///< processName:P,packageVersion:V,eventType:T
    ProcessType,         ///< processName:P,eventType:T
};

/** Returns the form of the extra text for event type @p eventId. */
ExtraTextForm extraTextForm(int64_t eventId);

/**
 * Splits @p text by the rules of its event type. The position of a missing key is -1.
 *
 * @throws std::out_of_range if a value would start after the end of the text
 */
KavelExtraInfo parseExtraInfo(const std::string& text, int64_t eventId);

}  // namespace android::kavel
