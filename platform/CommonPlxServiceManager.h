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

    /**
     * Uploads one statistic: one after the other, on a thread of its own, and the caller waits ten
     * seconds at most (CallLine). Up to 64 are kept for a service that hangs; one that finds no
     * room is lost, with an error line that names it. Any thread.
     */
    void sendToPlxFromCommonPlx(std::string tag, std::string eventId, const Pairs& data);

  protected:
    /** Hands one statistic to the service, and returns when that is done. */
    virtual void upload(const std::string& tag, const std::string& eventId, const Pairs& data) = 0;
    virtual ~CommonPlxServiceManager() = default;
};

}  // namespace android
