#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <shared_mutex>
#include <string>
#include <unordered_map>

#include "host/system/PropertyRules.h"
#include "host/system/PropertyStore.h"

namespace android::kavel::host {

/**
 * Asks the property service to set a property. Waits for the answer, at most about two seconds;
 * kNoService at once when nobody listens. Any thread but the service's own.
 */
PropertyStatus requestSet(const std::string& socketPath, const std::string& name,
                          const std::string& value);

/**
 * Reads a store of properties, with a cache that one atomic load validates: a property is read
 * with every log line. Any thread.
 */
class PropertyReader {
  public:
    explicit PropertyReader(std::string folder) : mFolder(std::move(folder)) {}

    /** Nothing if there is no such property, or no store. */
    std::optional<std::string> get(const std::string& name);

    /**
     * Blocks until the property exists and has the value; false at `deadlineNs` on
     * CLOCK_MONOTONIC (INT64_MAX: no limit), or at once when there is no store to wait for.
     */
    bool waitFor(const std::string& name, const std::string& value, int64_t deadlineNs);

  private:
    bool attach();

    const PropertyFolder mFolder;
    PropertySerial mSerial;
    std::shared_mutex mLock;
    /** What was found (or not found) while the serial number was mCachedSerial. */
    std::unordered_map<std::string, std::optional<std::string>> mCache;
    uint32_t mCachedSerial = 0;
};

}  // namespace android::kavel::host
