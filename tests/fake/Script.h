#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace android::kavel::test {

/** A line of a script: a verb and its words. */
class ScriptLine {
  public:
    explicit ScriptLine(const std::string& text);

    const std::string& verb() const { return mWords[0]; }
    /** The word at @p i, the verb's place being 0; empty where there is none. */
    std::string word(size_t i) const { return i < mWords.size() ? mWords[i] : ""; }
    size_t size() const { return mWords.size(); }
    int64_t number(size_t i) const { return std::stoll(mWords.at(i), nullptr, 0); }
    /** What stands from the word at @p i on, blanks and all. */
    std::string rest(size_t i) const;
    /** VALUE of a word NAME=VALUE; empty where there is none. */
    std::string option(const std::string& name) const;

  private:
    std::vector<std::string> mWords;
};

using ScriptVerbs = std::map<std::string, std::function<void(const ScriptLine&)>>;

/**
 * Follows the script at @p path: what comes of each line, as @p follow tells it, has to be what
 * stands indented below that line. Blank lines and those with "#" are for the reader; "{x*511}" is
 * 511 times x, and "\t" and "\n" in a line to follow are themselves.
 *
 * "= NAME TEXT" shortens the results: a line that is TEXT becomes NAME, or NAME(VALUE,...) if TEXT
 * has "*" for a value, and neighbours share a line in brackets. All other lines are shown in full.
 *
 * With KAVEL_WRITE_GOLDEN in the environment the file is rewritten, to be looked through.
 */
void expectScript(const std::string& path,
                  const std::function<std::string(const ScriptLine& line)>& follow);

}  // namespace android::kavel::test
