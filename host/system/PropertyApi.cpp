// The platform libraries' property functions. Debian's libbase has functions of these names, but
// its properties exist only within one process.

#include <android-base/properties.h>
#include <cutils/properties.h>
#include <utils/Timers.h>

#include "host/system/PropertyClient.h"
#include "host/system/PropertyStore.h"

namespace {

const android::kavel::host::PropertyFolder& store() {
    // Never destroyed: other threads may still log while the process ends.
    static auto* const instance =
            new android::kavel::host::PropertyFolder(android::kavel::host::propertyDirectory());
    return *instance;
}

int64_t deadlineAfter(std::chrono::milliseconds timeout) {
    const int64_t now = systemTime(SYSTEM_TIME_MONOTONIC);
    constexpr int64_t kNanosPerMilli = 1'000'000;
    if (timeout.count() > (INT64_MAX - now) / kNanosPerMilli) return INT64_MAX;
    return timeout.count() <= 0 ? now : now + timeout.count() * kNanosPerMilli;
}

}  // namespace

namespace android::base {

std::string GetProperty(const std::string& key, const std::string& default_value) {
    std::optional<std::string> value = store().read(key);
    if (!value || value->empty()) return default_value;
    return std::move(*value);
}

bool SetProperty(const std::string& key, const std::string& value) {
    return kavel::host::requestSet(kavel::host::propertySocketPath(), key, value) ==
           kavel::host::PropertyStatus::kSuccess;
}

bool WaitForProperty(const std::string& key, const std::string& expected_value,
                     std::chrono::milliseconds relative_timeout) {
    return store().waitFor(key, expected_value, deadlineAfter(relative_timeout));
}

}  // namespace android::base

int property_set(const char* key, const char* value) {
    return android::base::SetProperty(key, value != nullptr ? value : "") ? 0 : -1;
}
