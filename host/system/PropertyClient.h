#pragma once

#include <string>

#include "host/system/PropertyRules.h"

namespace android::kavel::host {

/**
 * Asks the property service to set a property. Waits for the answer, at most about twenty seconds;
 * returns kNoService at once if no process listens. Any thread except that of the service.
 *
 * The request is one packet: NAME NUL VALUE. The answer is one packet with a PropertyStatus.
 */
PropertyStatus requestSet(const std::string& socketPath, const std::string& name,
                          const std::string& value);

}  // namespace android::kavel::host
