#include "tools/StatisticReport.h"

#include <utility>

#include "tools/Text.h"

namespace android::kavel::tools {

Json::Value statisticJson(const Statistic& statistic) {
    Json::Value json;
    json["time"] = statistic.time;
    json["tag"] = statistic.tag;
    json["event"] = statistic.event;
    Json::Value& data = json["data"] = Json::objectValue;
    for (const auto& [key, value] : statistic.data) {
        Json::Value& member = data[key];
        if (member.isString()) {  // the key came before
            const Json::Value first = member;
            member = Json::arrayValue;
            member.append(first);
        }
        member.isArray() ? member.append(value) : member = value;
    }
    return json;
}

std::string dataText(const Statistic& statistic) {
    std::string text;
    for (const auto& [key, value] : statistic.data) {
        text += (text.empty() ? "" : " ") + printable(key) + "=" + printable(value);
    }
    return text;
}

std::vector<Statistic> parseStatistics(const std::vector<std::string>& lines, size_t& bad) {
    std::vector<Statistic> statistics;
    bad = 0;
    for (const std::string& line : lines) {
        if (auto statistic = parseStatistic(line)) {
            statistics.push_back(std::move(*statistic));
        } else {
            ++bad;
        }
    }
    return statistics;
}

}  // namespace android::kavel::tools
