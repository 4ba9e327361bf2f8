#pragma once

#include <string>
#include <string_view>

namespace kaveldesk {

/**
 * Text of a log for a terminal: control characters, bytes that are not UTF-8 and characters that
 * turn the direction of writing become \xNN. Tabs stay.
 */
std::string printable(std::string_view text);

}  // namespace kaveldesk
