#pragma once

#include <string>
#include <string_view>

namespace android::kavel {

/**
 * Returns @p value for use inside a word of a shell command. A value with only harmless characters,
 * or an empty one, is unchanged. Any other value is put in single quotes, with its own quotes
 * escaped.
 */
std::string shellQuote(std::string_view value);

/**
 * The same for a part of an argument of the shell's `echo`, which expands backslash sequences after
 * the quotes are removed (in mksh on the phone and in dash): doubles each backslash.
 */
std::string shellQuoteForEcho(std::string_view value);

/**
 * The same for a whole argument: always uses single quotes, and writes a leading "-" as an octal
 * sequence, so that `echo` does not take the value as an option.
 */
std::string singleQuoteForEcho(std::string_view value);

}  // namespace android::kavel
