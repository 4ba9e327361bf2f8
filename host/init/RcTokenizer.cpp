#include "host/init/RcTokenizer.h"

#include <utility>

namespace android::kavel::host {
namespace {

char unescape(char c) {
    switch (c) {
        case 'n':
            return '\n';
        case 'r':
            return '\r';
        case 't':
            return '\t';
        default:
            return c;
    }
}

/** One pass over the text; each take... method consumes what it is named after. */
class Tokenizer {
  public:
    explicit Tokenizer(std::string_view text) : mText(text) {}

    std::vector<RcLine> run() {
        while (!atEnd()) takeLine();
        return std::move(mLines);
    }

  private:
    bool atEnd() const { return mPos >= mText.size(); }
    char peek() const { return mText[mPos]; }
    bool peekIs(char c) const { return !atEnd() && peek() == c; }

    void takeLine() {
        RcLine line{mNumber, {}};
        while (!atEnd() && peek() != '\n') {
            if (peek() == ' ' || peek() == '\t' || peek() == '\r') {
                ++mPos;
            } else if (peek() == '#') {
                while (!atEnd() && peek() != '\n') ++mPos;
            } else if (!takeContinuation()) {
                line.words.push_back(takeWord());
            }
        }
        if (!atEnd()) newLine();
        if (!line.words.empty()) mLines.push_back(std::move(line));
    }

    std::string takeWord() {
        std::string word;
        bool quoted = false;
        while (!atEnd()) {
            const char c = peek();
            if (c == '\n' || (!quoted && (c == ' ' || c == '\t' || c == '\r'))) break;
            if (c == '\\') {
                if (takeContinuation()) continue;
                ++mPos;
                if (!atEnd()) word += unescape(mText[mPos++]);
            } else {
                ++mPos;
                if (c == '"') {
                    quoted = !quoted;
                } else {
                    word += c;
                }
            }
        }
        return word;
    }

    /** A backslash before a line end, and the blanks that indent the next line. */
    bool takeContinuation() {
        if (!peekIs('\\')) return false;
        const size_t skip = mText.substr(mPos, 3) == "\\\r\n" ? 2 : 1;
        if (mPos + skip >= mText.size() || mText[mPos + skip] != '\n') return false;
        mPos += skip;
        newLine();
        while (peekIs(' ') || peekIs('\t')) ++mPos;
        return true;
    }

    void newLine() {
        ++mPos;
        ++mNumber;
    }

    std::string_view mText;
    size_t mPos = 0;
    int mNumber = 1;
    std::vector<RcLine> mLines;
};

}  // namespace

std::vector<RcLine> tokenizeRc(std::string_view text) {
    return Tokenizer(text).run();
}

}  // namespace android::kavel::host
