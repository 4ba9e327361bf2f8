#include "platform/PropertyWait.h"

#include <android-base/properties.h>

namespace android::kavel {

bool waitForProperty(const std::string& name, const std::string& value,
                     std::chrono::milliseconds timeout) {
    return base::WaitForProperty(name, value, timeout);
}

}  // namespace android::kavel
