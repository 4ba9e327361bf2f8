#pragma once

#include <cstdint>
#include <string>

#include "event/KavelEvent.h"

namespace android::kavel {

/**
 * Splits @p text by the rules of its event type. The position of a missing key is -1.
 *
 * @throws std::out_of_range if a value would start after the end of the text
 */
KavelExtraInfo parseExtraInfo(const std::string& text, int64_t eventId);

}  // namespace android::kavel
