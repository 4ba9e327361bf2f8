#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace android::kavel::host {

/** One logical line of an .rc file; continued lines count from their first. */
struct RcLine {
    int number;
    std::vector<std::string> words;
};

/**
 * Splits @p text into logical lines: words are parted by blanks, "double quotes" keep blanks,
 * a backslash takes the next character as it is (\n, \r, \t as usual) and joins lines at a
 * line's end, # starts a comment where a word could start. Lines without words are left out.
 */
std::vector<RcLine> tokenizeRc(std::string_view text);

}  // namespace android::kavel::host
