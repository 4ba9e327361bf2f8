#pragma once

#include <string>
#include <vector>

#include <CLI/Option.hpp>

namespace kaveldesk {

/** What an option takes. */
struct OptionValue {
    std::string type;                  // in upper case, for example FILE; empty for a flag
    std::vector<std::string> choices;  // all values, if only some are valid
};

OptionValue valueOf(const CLI::Option& option);

/** The option's names with their dashes; empty for an argument without. */
std::vector<std::string> namesOf(const CLI::Option& option);

}  // namespace kaveldesk
