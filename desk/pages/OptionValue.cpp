#include "desk/pages/OptionValue.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

namespace kaveldesk {

OptionValue valueOf(const CLI::Option& option) {
    if (option.get_items_expected_max() == 0) return {};
    // CLI11 writes the valid values behind the type: TEXT:{a,b}.
    const std::string text = option.get_type_name();
    const size_t begin = text.find(":{");
    if (begin == std::string::npos) return {text, {}};
    const size_t end = text.find('}', begin);
    return {text.substr(0, begin),
            CLI::detail::split(text.substr(begin + 2, end - begin - 2), ',')};
}

std::vector<std::string> namesOf(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames()) names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
    return names;
}

}  // namespace kaveldesk
