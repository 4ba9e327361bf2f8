#include "platform/PropertyWait.h"

#include <android-base/properties.h>

#include "host/system/TimeScale.h"

namespace android::kavel {

bool waitForProperty(const std::string& name, const std::string& value,
                     std::chrono::milliseconds timeout) {
    const std::chrono::duration<double, std::milli> scaled = timeout / host::timeScale();
    return base::WaitForProperty(name, value, std::chrono::ceil<std::chrono::milliseconds>(scaled));
}

}  // namespace android::kavel
