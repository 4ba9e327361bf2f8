#pragma once

#include <string>

#include "event/EventParameters.h"
#include "event/KavelEvent.h"
#include "platform/CommonPlxServiceManager.h"

namespace android::kavel {

/** What the data-collection service is told about @p event: keys and values in a fixed order. */
CommonPlxServiceManager::Pairs statisticPairs(const KavelEvent& event,
                                              const std::string& eventName);

/** Whether @p event only continues an incident that has been uploaded already. */
bool isRepeatedStatistic(const KavelEvent& event);

/**
 * Uploads one statistic about @p event (sendToPlxFromCommonPlx()).
 *
 * @return 0 when it was handed to the client, else -1 after one line that says why not
 */
int dravo_statistic_common(const EventParameters& parameters, const KavelEvent& event);

}  // namespace android::kavel
