#include "handler/StatisticUpload.h"

#include <optional>
#include <string>

#include "event/KavelTimestamp.h"
#include "platform/CommonPlxServiceManager.h"
#include "platform/Log.h"
#include "platform/TraceSection.h"

namespace android::kavel {
namespace {

/** Returns the keys and values of the statistic about @p event, in a fixed order. */
CommonPlxServiceManager::Pairs statisticPairs(const KavelEvent& event,
                                              const std::string& eventName) {
    CommonPlxServiceManager::Pairs pairs = {{"logType", eventName}};
    const auto addUnless = [&](bool absent, const char* key, const std::string& value) {
        if (!absent) pairs.emplace_back(key, value);
    };
    const KavelExtraInfo& extra = event.extraInfo;
    addUnless(event.pid == 0, "pid", std::to_string(event.pid));
    addUnless(event.uid == 0, "uid", std::to_string(event.uid));
    pairs.emplace_back("timestamp", kavelTimeStampToString(event.timestamp));
    addUnless(extra.processName.empty(), "packageName", extra.processName);
    addUnless(extra.packageVersion.empty(), "packageVersion", extra.packageVersion);
    addUnless(extra.eventType.empty(), "eventType", extra.eventType);
    return pairs;
}

/** Whether @p event continues an incident that has already been uploaded. */
bool isRepeatedStatistic(const KavelEvent& event) {
    const std::string& type = event.extraInfo.eventType;
    return event.type.statistic == StatisticRule::NewOnly &&
           (type == "closeUser" || type == "dialog" || type == "end");
}

}  // namespace

int dravo_statistic_common(const EventParameters& parameters, const KavelEvent& event) {
    const TraceSection trace("dravo_statistic_common");
    const std::optional<std::string> name = parameters.findEventName(event.eventId);
    if (!name) {
        KAVEL_LOGI(KAVEL_TAG_BINDER, "[dravo_statistic_common]: Unknown eventID found.\n");
        return -1;
    }
    CommonPlxServiceManager* const manager =
            CommonPlxServiceManager::getDefaultCommonPlxServiceManager();
    if (isRepeatedStatistic(event)) {
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_statistic_common]: don't upload repeat");
        return -1;
    }
    if (manager == nullptr) {
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_statistic_common]: sendToCommonPlx manager is null.\n");
        return -1;
    }
    manager->sendToPlxFromCommonPlx("CriticalLog", "Kavel", statisticPairs(event, *name));
    return 0;
}

}  // namespace android::kavel
