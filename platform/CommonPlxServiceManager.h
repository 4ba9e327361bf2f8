#pragma once

#include <string>
#include <utility>
#include <vector>

namespace android {

/** The maker's data-collection service, as far as the daemon needs it. */
class CommonPlxServiceManager {
  public:
    using Pairs = std::vector<std::pair<std::string, std::string>>;

    /** The client, which lives as long as the process; null where the device has no such service.
     */
    static CommonPlxServiceManager* getDefaultCommonPlxServiceManager();

    /** Uploads one statistic. What comes back says nothing that a caller could act on. */
    virtual int sendToPlxFromCommonPlx(std::string tag, std::string eventId, const Pairs& data) = 0;

  protected:
    virtual ~CommonPlxServiceManager() = default;
};

}  // namespace android
