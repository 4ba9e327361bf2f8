#pragma once

#include "event/EventParameters.h"
#include "event/KavelEvent.h"

namespace android::kavel {

/**
 * Uploads one statistic about @p event (sendToPlxFromCommonPlx()).
 *
 * @return 0 if it was passed to the client; otherwise -1, after a log line with the reason
 */
int dravo_statistic_common(const EventParameters& parameters, const KavelEvent& event);

}  // namespace android::kavel
