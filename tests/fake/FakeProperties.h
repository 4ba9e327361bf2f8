#pragma once

#include <string>
#include <utility>
#include <vector>

namespace android::kavel::fake {

// Takes the place of libbase's and libcutils' functions, with properties of the process alone. As
// on a phone, a property whose name begins with "ro." can be set once. Any thread.

/** Makes the property @p name what the build, or somebody else, has set it to; one of "ro." too. */
void setProperty(const std::string& name, const std::string& value);

/** Every property_set() since the last call, in order. */
std::vector<std::pair<std::string, std::string>> takePropertySets();

}  // namespace android::kavel::fake
