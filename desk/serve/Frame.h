#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "desk/serve/Views.h"

namespace kaveldesk {

// Made at build time from the files below page/.
extern const std::string_view kPageStyle;
extern const std::string_view kPageScript;

/**
 * A whole page.
 * @param path     of the view, for the form of the filter; empty for a page without one
 * @param changes  the state that the view shows, if it can change while it is open
 */
std::string framed(const View& view, const std::string& path, const FilterTexts& texts,
                   std::optional<uint64_t> changes);

/** The page that asks for the token. */
View loginView();

}  // namespace kaveldesk
