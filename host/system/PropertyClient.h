#pragma once

#include <string>

#include "host/system/PropertyRules.h"

namespace android::kavel::host {

/**
 * Asks the property service to set a property. Waits for the answer, at most about two seconds;
 * returns kNoService at once if nobody listens. Any thread but the service's own.
 *
 * The request is one packet, NAME NUL VALUE, and so is the answer, a PropertyStatus.
 */
PropertyStatus requestSet(const std::string& socketPath, const std::string& name,
                          const std::string& value);

}  // namespace android::kavel::host
