#include "tests/structure/Blueprint.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace android::kavel::test {
namespace {

class Parser {
  public:
    explicit Parser(const std::string& text) : mText(text) { skipBlanks(); }

    bool atEnd() const { return mNext == mText.size(); }

    std::string word() {
        const size_t start = mNext;
        while (!atEnd() && (isalnum(static_cast<unsigned char>(peek())) != 0 || peek() == '_')) {
            ++mNext;
        }
        if (mNext == start) fail("a word");
        return finish(mText.substr(start, mNext - start));
    }

    BlueprintValue properties() {
        BlueprintValue value;
        expect('{');
        while (peek() != '}') {
            const std::string name = word();
            expect(':');
            if (!value.map.emplace(name, this->value()).second) fail("no second " + name);
            expect(',');
        }
        expect('}');
        return value;
    }

  private:
    BlueprintValue value() {
        switch (peek()) {
            case '{':
                return properties();
            case '[':
                return {"", strings(), {}};
            case '"':
                return {string(), {}, {}};
            default:
                return {word(), {}, {}};
        }
    }

    std::vector<std::string> strings() {
        std::vector<std::string> list;
        expect('[');
        while (peek() != ']') {
            list.push_back(string());
            if (peek() != ']') expect(',');
        }
        expect(']');
        return list;
    }

    std::string string() {
        std::string text;
        if (peek() != '"') fail("a string");
        for (++mNext; peek() != '"'; ++mNext) {
            if (peek() == '\\') ++mNext;
            if (atEnd()) fail("the end of the string");
            text += peek();
        }
        ++mNext;
        return finish(text);
    }

    void expect(char c) {
        if (peek() != c) fail(std::string("'") + c + "'");
        ++mNext;
        skipBlanks();
    }

    std::string finish(std::string token) {
        skipBlanks();
        return token;
    }

    void skipBlanks() {
        while (!atEnd()) {
            if (mText.compare(mNext, 2, "//") == 0) {
                mNext = std::min(mText.find('\n', mNext), mText.size());
            } else if (isspace(static_cast<unsigned char>(peek())) != 0) {
                ++mNext;
            } else {
                return;
            }
        }
    }

    char peek() const { return atEnd() ? '\0' : mText[mNext]; }

    [[noreturn]] void fail(const std::string& wanted) const {
        const auto end = mText.begin() + static_cast<std::ptrdiff_t>(mNext);
        throw std::runtime_error("line " +
                                 std::to_string(1 + std::count(mText.begin(), end, '\n')) +
                                 ": expected " + wanted);
    }

    const std::string& mText;
    size_t mNext = 0;
};

}  // namespace

const BlueprintValue& BlueprintValue::at(const std::string& path) const {
    static const BlueprintValue kNone;
    const size_t dot = path.find('.');
    const auto property = map.find(path.substr(0, dot));
    if (property == map.end()) return kNone;
    return dot == std::string::npos ? property->second : property->second.at(path.substr(dot + 1));
}

std::map<std::string, BlueprintModule> parseBlueprint(const std::string& text) {
    std::map<std::string, BlueprintModule> modules;
    for (Parser parser(text); !parser.atEnd();) {
        BlueprintModule module;
        module.type = parser.word();
        module.properties = parser.properties();
        const std::string& name = module.properties.at("name").text;
        const std::string key = name.empty() ? module.type : name;
        if (!modules.emplace(key, module).second) throw std::runtime_error("two modules " + key);
    }
    return modules;
}

}  // namespace android::kavel::test
