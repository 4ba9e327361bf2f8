#pragma once

#include <string_view>

namespace kaveldesk {

// The page, made at build time from the files below page/: what comes before the data, and after.
extern const std::string_view kPageBegin;
extern const std::string_view kPageEnd;

}  // namespace kaveldesk
