#include "host/init/RcScript.h"

#include <algorithm>
#include <charconv>
#include <sstream>

namespace android::kavel::host {
namespace {

using Words = std::vector<std::string>;

/** Applies one option line to @p service. Returns an error message, or an empty text. */
std::string applyOption(const Words& words, RcService* service) {
    const std::string& option = words[0];
    const Words values(words.begin() + 1, words.end());
    if (option == "class" && values.size() == 1) {
        service->className = values[0];
    } else if (option == "user" && values.size() == 1) {
        service->user = values[0];
    } else if (option == "group" && !values.empty()) {
        service->groups = values;
    } else if (option == "capabilities") {
        service->capabilities = values;
    } else if (option == "socket" && values.size() == 5 && values[1] == "stream") {
        const auto mode = parseMode(values[2]);
        if (!mode) return "'" + values[2] + "' is not an octal mode";
        service->sockets.push_back({values[0], *mode, values[3], values[4]});
    } else {
        return "unknown service option '" + option + "', or wrong values for it";
    }
    return {};
}

/** Adds lines to a script. Remembers the block to which the next line belongs. */
class Parser {
  public:
    Parser(std::string_view name, RcScript* script) : mName(name), mScript(script) {}

    void line(const std::string& text) {
        mWhere = mName + ":" + std::to_string(++mNumber);
        std::istringstream stream(text.substr(0, text.find('#')));
        Words words;
        for (std::string word; stream >> word;) words.push_back(word);
        if (words.empty()) return;
        if (stream.str().find_first_of("\"\\") != std::string::npos) {
            problem("quotes and backslashes are not supported: line left out");
        } else if (words[0] == "service") {
            beginService(words);
        } else if (words[0] == "on") {
            beginAction(words);
        } else if (mBlock == Block::Service) {
            const std::string complaint = applyOption(words, &mScript->services.back());
            if (!complaint.empty()) problem(complaint + ": option ignored");
        } else if (mBlock == Block::Action) {
            mScript->actions.back().commands.push_back({words, mWhere});
        } else if (mBlock == Block::None) {
            problem("'" + words[0] + "' is outside any service or action");
        }
    }

  private:
    /** Skipped: the first line of the block is invalid, so its other lines are ignored. */
    enum class Block { None, Service, Action, Skipped };

    void problem(std::string text) { mScript->problems.push_back({mWhere, std::move(text)}); }

    void beginService(const Words& words) {
        mBlock = Block::Skipped;
        if (words.size() < 3) return problem("a service needs a name and a program");
        const auto& services = mScript->services;
        const bool known = std::any_of(services.begin(), services.end(),
                                       [&](const auto& one) { return one.name == words[1]; });
        if (known) return problem("service '" + words[1] + "' is defined already: left out");
        RcService service;
        service.name = words[1];
        service.args.assign(words.begin() + 2, words.end());
        service.where = mWhere;
        mScript->services.push_back(std::move(service));
        mBlock = Block::Service;
    }

    void beginAction(const Words& words) {
        mBlock = words.size() == 2 ? Block::Action : Block::Skipped;
        if (mBlock == Block::Skipped) return problem("an action needs one trigger: left out");
        mScript->actions.push_back({words[1], {}});
    }

    const std::string mName;
    RcScript* const mScript;
    int mNumber = 0;
    std::string mWhere;
    Block mBlock = Block::None;
};

}  // namespace

void parseRc(std::string_view name, const std::string& text, RcScript* script) {
    Parser parser(name, script);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) parser.line(line);
}

std::optional<mode_t> parseMode(std::string_view text) {
    mode_t mode = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), mode, 8);
    const bool whole = result.ec == std::errc{} && result.ptr == text.data() + text.size();
    if (!whole || mode > 07777) return std::nullopt;
    return mode;
}

}  // namespace android::kavel::host
