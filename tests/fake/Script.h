#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace android::kavel::test {

/** A line of a script: a verb and further words. */
class ScriptLine {
  public:
    explicit ScriptLine(const std::string& text);

    const std::string& verb() const { return mWords[0]; }
    /** Returns word @p i, or an empty text if there is none. The verb is word 0. */
    std::string word(size_t i) const { return i < mWords.size() ? mWords[i] : ""; }
    size_t size() const { return mWords.size(); }
    int64_t number(size_t i) const { return std::stoll(mWords.at(i), nullptr, 0); }
    /** Returns the text from word @p i to the end of the line. */
    std::string rest(size_t i) const;
    /** Returns VALUE of the word NAME=VALUE, or an empty text if there is none. */
    std::string option(const std::string& name) const;

  private:
    std::vector<std::string> mWords;
};

using ScriptVerbs = std::map<std::string, std::function<void(const ScriptLine&)>>;

/** Does what a line says; returns the results. */
using Follow = std::function<std::string(const ScriptLine& line)>;
/** Calls @p follow for each step of a line; "; " separates steps. Short results share a line. */
Follow stepwise(const Follow& follow);

/**
 * Calls @p follow for each line of the script at @p path, and compares its result with the indented
 * text below the line. Ignores blank lines and those that begin with "#". In a line, "{x*511}"
 * means 511 times x, "\t" a tab and "\n" a newline.
 *
 * With KAVEL_WRITE_GOLDEN in the environment, rewrites the file.
 */
void expectScript(const std::string& path, const Follow& follow);

}  // namespace android::kavel::test
