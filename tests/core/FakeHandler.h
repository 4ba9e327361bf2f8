#pragma once

#include <string>
#include <vector>

#include "handler/KavelEventHandler.h"
#include "platform/CommonPlxServiceManager.h"

namespace android::kavel::fake {

// Takes the place of the handler's report() and of the data-collection client.

struct Upload {
    std::string tag;
    std::string eventId;
    CommonPlxServiceManager::Pairs data;
};

/** What has been uploaded, or reported, since the last call. */
std::vector<Upload> takeUploads();
std::vector<KavelReport> takeReports();
/** Whether the device has a data-collection service; it has at first. */
void setStatisticService(bool isThere);

}  // namespace android::kavel::fake
