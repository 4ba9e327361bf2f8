#include "tests/fake/Script.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>

#include <android-base/strings.h>
#include <gtest/gtest.h>

#include "tests/fake/Series.h"

namespace android::kavel::test {
namespace {

std::string expanded(std::string text) {
    static const std::regex run(R"(\{([^{}*]+)\*(\d+)\})");
    for (std::smatch found; std::regex_search(text, found, run);) {
        std::string whole;
        for (int i = std::stoi(found[2]); i > 0; --i) whole += found[1];
        text = found.prefix().str() + whole + found.suffix().str();
    }
    return replaced(replaced(text, "\\t", "\t"), "\\n", "\n");
}

std::string abridged(std::string text) {
    static const std::regex run(R"((.)\1{99,})");
    for (std::smatch found; std::regex_search(text, found, run);) {
        text = found.prefix().str() + "{" + found.str(1) + "*" + std::to_string(found.length()) +
               "}" + found.suffix().str();
    }
    return text;
}

}  // namespace

ScriptLine::ScriptLine(const std::string& text) : mWords(base::Split(text, " ")) {}

std::string ScriptLine::rest(size_t i) const {
    const auto first = mWords.begin() + static_cast<long>(std::min(i, mWords.size()));
    return base::Join(std::vector(first, mWords.end()), ' ');
}

std::string ScriptLine::option(const std::string& name) const {
    for (const std::string& word : mWords) {
        if (word.rfind(name + "=", 0) == 0) return word.substr(name.size() + 1);
    }
    return "";
}

Follow stepwise(const Follow& follow) {
    return [follow](const ScriptLine& line) {
        constexpr size_t kWidth = 180;
        std::string results;
        const std::string steps = line.rest(0) + "; ";
        for (size_t from = 0, to = 0; (to = steps.find("; ", from)) != std::string::npos;
             from = to + 2) {
            const std::string result = follow(ScriptLine(steps.substr(from, to - from)));
            if (result.empty()) continue;
            if (!results.empty()) {
                results.pop_back();
                const size_t end = results.rfind('\n');
                const size_t row = results.size() - (end == std::string::npos ? 0 : end + 1);
                results += row + 1 + result.find('\n') < kWidth ? "; " : "\n";
            }
            results += result;
        }
        return results;
    };
}

void expectScript(const std::string& path, const Follow& follow) {
    std::string expected;
    std::string actual;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        expected += line + "\n";
        if (line.rfind("    ", 0) == 0) continue;
        actual += line + "\n";
        if (line.empty() || line[0] == '#') continue;
        std::istringstream results(follow(ScriptLine(expanded(line))));
        for (std::string result; std::getline(results, result);) {
            if (!result.empty()) actual += "    " + abridged(result) + "\n";
        }
    }
    if (getenv("KAVEL_WRITE_GOLDEN") != nullptr) std::ofstream(path) << actual;
    EXPECT_NE(actual, "") << path;
    EXPECT_EQ(actual, expected);
}

}  // namespace android::kavel::test
