#include "tests/structure/PropertyNames.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <stdexcept>

namespace android::kavel::test {
namespace {

using Matches = std::sregex_iterator;

/** The text of an argument that is a literal or names a constant; empty for a parameter's name. */
std::string textOf(const std::string& argument, const std::string& source) {
    if (argument.front() == '"') return argument.substr(1, argument.size() - 2);
    std::smatch constant;
    const std::regex definition(argument + R"(\s*(?:\[\])?\s*=\s*"([^"]*)\")");
    if (std::regex_search(source, constant, definition)) return constant[1];
    const std::regex parameter(R"(const std::string& )" + argument + R"(\b)");
    if (std::regex_search(source, parameter)) return "";
    throw std::runtime_error("no value for " + argument);
}

}  // namespace

std::set<std::string> propertiesUsed(const std::string& source) {
    static const std::regex kCall(
            R"re(\b(?:Get(?:Int|Uint|Bool)?Property(?:<[^>]*>)?|SetProperty|property_[gs]et|)re"
            R"re([Ww]aitForProperty)\s*\(\s*("[^"]*"|\w+)\s*,\s*("[^"]*")?)re");
    static const std::regex kName(R"re("((?:ctl|debug|init|log|persist|ro|sys)\.[a-z0-9_.]+)")re");
    std::set<std::string> names;
    for (Matches call(source.begin(), source.end(), kCall), end; call != end; ++call) {
        std::string name = textOf((*call)[1], source);
        if (name.rfind("ctl.", 0) == 0) {
            if (!(*call)[2].matched) throw std::runtime_error("no service for " + name);
            name += "=" + textOf((*call)[2], source);
        }
        if (!name.empty()) names.insert(name);
    }
    for (Matches literal(source.begin(), source.end(), kName), end; literal != end; ++literal) {
        if ((*literal)[1].str().rfind("ctl.", 0) != 0) names.insert((*literal)[1]);
    }
    return names;
}

std::set<std::string> namesInTables(const std::string& markdown) {
    static const std::regex kRow(R"(\| `([^`]+)` \|.*)");
    std::set<std::string> names;
    std::istringstream lines(markdown);
    for (std::string line; std::getline(lines, line);) {
        std::smatch row;
        if (!std::regex_match(line, row, kRow)) continue;
        EXPECT_TRUE(names.insert(row[1]).second) << row[1] << " has two rows";
    }
    return names;
}

}  // namespace android::kavel::test
