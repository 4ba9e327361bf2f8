#pragma once

#include <string>

#include "event/EventParameters.h"
#include "event/KavelEvent.h"
#include "platform/CommonPlxServiceManager.h"

namespace android::kavel {

/** Returns the keys and values of the statistic about @p event, in a fixed order. */
CommonPlxServiceManager::Pairs statisticPairs(const KavelEvent& event,
                                              const std::string& eventName);

/** Whether @p event continues an incident that has already been uploaded. */
bool isRepeatedStatistic(const KavelEvent& event);

/**
 * Uploads one statistic about @p event (sendToPlxFromCommonPlx()).
 *
 * @return 0 if it was passed to the client; otherwise -1, after a log line with the reason
 */
int dravo_statistic_common(const EventParameters& parameters, const KavelEvent& event);

}  // namespace android::kavel
