#include "tests/fake/Script.h"

#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>

#include <android-base/strings.h>
#include <gtest/gtest.h>

namespace android::kavel::test {
namespace {

std::string expanded(std::string text) {
    static const std::regex run(R"(\{(.)\*(\d+)\})");
    for (std::smatch found; std::regex_search(text, found, run);) {
        const std::string whole(std::stoul(found[2]), found.str(1)[0]);
        text = found.prefix().str() + whole + found.suffix().str();
    }
    text = std::regex_replace(text, std::regex(R"(\\t)"), "\t");
    return std::regex_replace(text, std::regex(R"(\\n)"), "\n");
}

std::string abridged(std::string text) {
    static const std::regex run(R"((.)\1{99,})");
    for (std::smatch found; std::regex_search(text, found, run);) {
        text = found.prefix().str() + "{" + found.str(1) + "*" + std::to_string(found.length()) +
               "}" + found.suffix().str();
    }
    return text;
}

/** A name for a line of the results, and the line's text around its values. */
struct Word {
    std::string name;
    std::vector<std::string> parts;

    /** Returns NAME or NAME(VALUE,...) if @p line is this word's, otherwise an empty text. */
    std::string shortFor(const std::string& line) const {
        if (line.rfind(parts[0], 0) != 0) return "";
        std::vector<std::string> values;
        size_t at = parts[0].size();
        for (size_t i = 1; i < parts.size(); ++i) {
            const bool isLast = i + 1 == parts.size();
            const size_t end = isLast && parts[i].empty() ? line.size() : line.find(parts[i], at);
            if (end == std::string::npos) return "";
            values.push_back(line.substr(at, end - at));
            at = end + parts[i].size();
        }
        if (at != line.size()) return "";
        return values.empty() ? name : name + "(" + base::Join(values, ',') + ")";
    }
};

/** @p results, with the words for its lines. */
std::string shortened(const std::string& results, const std::vector<Word>& words) {
    constexpr size_t kWidth = 140;
    std::string text;
    std::string row;
    const auto endRow = [&] {
        if (!row.empty()) text += "    (" + row + ")\n";
        row.clear();
    };
    std::istringstream lines(results);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty()) continue;
        std::string word;
        for (size_t i = 0; i < words.size() && word.empty(); ++i) word = words[i].shortFor(line);
        if (word.empty() || row.size() + word.size() > kWidth) endRow();
        if (word.empty()) {
            text += "    " + abridged(line) + "\n";
        } else {
            row += (row.empty() ? "" : " ") + word;
        }
    }
    endRow();
    return text;
}

}  // namespace

ScriptLine::ScriptLine(const std::string& text) : mWords(base::Split(text, " ")) {}

std::string ScriptLine::rest(size_t i) const {
    return i < mWords.size()
                   ? base::Join(std::vector(mWords.begin() + static_cast<long>(i), mWords.end()),
                                ' ')
                   : "";
}

std::string ScriptLine::option(const std::string& name) const {
    for (const std::string& word : mWords) {
        if (word.rfind(name + "=", 0) == 0) return word.substr(name.size() + 1);
    }
    return "";
}

void expectScript(const std::string& path,
                  const std::function<std::string(const ScriptLine& line)>& follow) {
    std::string expected;
    std::string actual;
    std::vector<Word> words;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        expected += line + "\n";
        if (line.rfind("    ", 0) == 0) continue;
        actual += line + "\n";
        if (line.empty() || line[0] == '#') continue;
        const ScriptLine step(expanded(line));
        if (step.verb() == "=") {
            words.push_back({step.word(1), base::Split(step.rest(2), "*")});
        } else {
            actual += shortened(follow(step), words);
        }
    }
    if (getenv("KAVEL_WRITE_GOLDEN") != nullptr) std::ofstream(path) << actual;
    EXPECT_NE(actual, "") << path;
    EXPECT_EQ(actual, expected);
}

}  // namespace android::kavel::test
