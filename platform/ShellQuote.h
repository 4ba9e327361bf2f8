#pragma once

#include <string>
#include <string_view>

namespace android::kavel {

/**
 * @p value for use inside a word of a shell command. A value of harmless characters comes back
 * byte for byte, an empty one too; any other is put between single quotes, which it cannot leave.
 */
std::string shellQuote(std::string_view value);

/**
 * The same for a part of an argument of the shell's `echo`, which expands backslash sequences after
 * the quotes are gone (mksh on the phone and dash both do): each backslash is doubled.
 */
std::string shellQuoteForEcho(std::string_view value);

/**
 * The same for a whole argument: always between single quotes, and a leading "-" is written as an
 * octal sequence, so that `echo` does not take the value for an option.
 */
std::string singleQuoteForEcho(std::string_view value);

}  // namespace android::kavel
