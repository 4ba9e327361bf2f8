#pragma once

#include <json/value.h>

#include <string>
#include <vector>

#include "tools/StatisticFile.h"

namespace android::kavel::tools {

/** Returns the JSON object of one statistic. */
Json::Value statisticJson(const Statistic& statistic);

/** Returns the pairs as text: "a=1 b=2". */
std::string dataText(const Statistic& statistic);

/** Parses @p lines. Returns their number that are no statistics in @p bad. */
std::vector<Statistic> parseStatistics(const std::vector<std::string>& lines, size_t& bad);

}  // namespace android::kavel::tools
