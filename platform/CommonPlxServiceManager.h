#pragma once

#include <string>
#include <utility>
#include <vector>

namespace android {

/** Client of the maker's data-collection service, with the functions that the daemon needs. */
class CommonPlxServiceManager {
  public:
    using Pairs = std::vector<std::pair<std::string, std::string>>;

    /** Returns the client, which is never destroyed; null if the device has no such service. */
    static CommonPlxServiceManager* getDefaultCommonPlxServiceManager();

    /**
     * Uploads one statistic. Uploads run one at a time, on a separate thread; the caller waits for
     * at most ten seconds (CallLine). If the service hangs, up to 64 statistics are kept. Any more
     * are lost, each with an error line that names it. Any thread.
     */
    void sendToPlxFromCommonPlx(std::string tag, std::string eventId, const Pairs& data);

  protected:
    /** Passes one statistic to the service. Returns when the service has it. */
    virtual void upload(const std::string& tag, const std::string& eventId, const Pairs& data) = 0;
    virtual ~CommonPlxServiceManager() = default;
};

}  // namespace android
