#pragma once

#include <string>
#include <vector>

#include "platform/CommonPlxServiceManager.h"

namespace android::kavel::fake {

// Takes the place of the event handling and of the data-collection client.

struct Upload {
    std::string tag;
    std::string eventId;
    CommonPlxServiceManager::Pairs data;
};

struct Intake {
    long eventId;
    long logInfo;
    int pid;
    int uid;
    std::string extraInfo;
};

/** What has been uploaded, or reported, since the last call. */
std::vector<Upload> takeUploads();
std::vector<Intake> takeIntakes();
/** Whether the device has a data-collection service; it has at first. */
void setStatisticService(bool isThere);

}  // namespace android::kavel::fake
