#pragma once

#include <string_view>

namespace kaveldesk {

// The page, made at build time from the files below page/. The summary comes after kPageBegin, the
// texts after kPageMiddle, whose script shows the summary while the browser reads on.
extern const std::string_view kPageBegin;
extern const std::string_view kPageMiddle;
extern const std::string_view kPageEnd;

}  // namespace kaveldesk
