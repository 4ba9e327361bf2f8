#pragma once

#include <string>
#include <string_view>

namespace android::kavel {

/**
 * Returns @p text with each ASCII control character replaced by "\xHH", for one line of the log.
 * Otherwise a newline in a name that an app has chosen could start a forged log line.
 */
std::string oneLine(std::string_view text);

}  // namespace android::kavel
