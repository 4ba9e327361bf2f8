#pragma once

#include <string>
#include <utility>
#include <vector>

namespace android::kavel::fake {

// Replaces the functions of libbase and libcutils with properties of this process. As on a phone, a
// property whose name begins with "ro." can be set once. Any thread.

/** Sets a property as the build or another process would; can also change "ro." properties. */
void setProperty(const std::string& name, const std::string& value);

/** Returns the arguments of each property_set() since the last call, in order. */
std::vector<std::pair<std::string, std::string>> takePropertySets();

}  // namespace android::kavel::fake
