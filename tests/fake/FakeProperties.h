#pragma once

#include <string>
#include <utility>
#include <vector>

namespace android::kavel::fake {

// android::base::GetProperty and SetProperty come from Debian's libbase, which keeps properties in
// the process; this adds what libcutils lacks.

/** Every property_set() since the last call, in order. */
std::vector<std::pair<std::string, std::string>> takePropertySets();

}  // namespace android::kavel::fake
