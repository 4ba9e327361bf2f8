#pragma once

#include <string>
#include <string_view>

namespace android::kavel {

/**
 * @p text for use in one line of the log: each ASCII control character becomes "\xHH". A newline in
 * a name that an app chose would otherwise begin a line of the app's own making.
 */
std::string oneLine(std::string_view text);

}  // namespace android::kavel
