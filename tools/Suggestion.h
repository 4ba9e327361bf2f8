#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace android::kavel::tools {

/**
 * Returns " (did you mean 'X'?)" for the name X that is closest to the mistyped @p word; empty if
 * none is close. Ignores the difference of upper and lower case.
 */
std::string didYouMean(std::string_view word, const std::vector<std::string>& names);

}  // namespace android::kavel::tools
