#include "host/init/RcScript.h"

#include <algorithm>
#include <charconv>

#include "host/init/RcServiceOptions.h"
#include "host/init/RcTokenizer.h"

namespace android::kavel::host {
namespace {

using Words = std::vector<std::string>;

/** Reads logical lines into a script; holds the block that the next line belongs to. */
class Parser {
  public:
    Parser(std::string_view name, RcScript* script) : mName(name), mScript(script) {}

    void line(const RcLine& line) {
        mWhere = mName + ":" + std::to_string(line.number);
        if (line.words[0] == "service") {
            beginService(line.words);
        } else if (line.words[0] == "on") {
            beginAction(line.words);
        } else if (mBlock == Block::Service) {
            serviceOption(line.words);
        } else if (mBlock == Block::Action) {
            mScript->actions.back().commands.push_back({line.words, mWhere});
        } else if (mBlock == Block::None) {
            problem("'" + line.words[0] + "' stands outside any service or action");
        }
    }

  private:
    /** Skipped: a block whose first line was unusable; its lines belong to nothing. */
    enum class Block { None, Service, Action, Skipped };

    void problem(std::string text) { mScript->problems.push_back({mWhere, std::move(text)}); }

    void beginService(const Words& words) {
        mBlock = Block::Skipped;
        if (words.size() < 3) {
            problem("a service needs a name and a program: service left out");
            return;
        }
        const auto& services = mScript->services;
        const bool known = std::any_of(services.begin(), services.end(),
                                       [&](const auto& one) { return one.name == words[1]; });
        if (known) {
            problem("service '" + words[1] + "' is defined already: service left out");
            return;
        }
        RcService service;
        service.name = words[1];
        service.args.assign(words.begin() + 2, words.end());
        service.where = mWhere;
        mScript->services.push_back(std::move(service));
        mBlock = Block::Service;
    }

    void serviceOption(const Words& words) {
        const std::string complaint = applyServiceOption(words, &mScript->services.back());
        if (!complaint.empty()) problem(complaint + ": option ignored");
    }

    void beginAction(const Words& words) {
        RcAction action;
        const std::string complaint = readTriggers(words, &action);
        mBlock = complaint.empty() ? Block::Action : Block::Skipped;
        if (!complaint.empty()) {
            problem(complaint + ": action left out");
            return;
        }
        mScript->actions.push_back(std::move(action));
    }

    static std::string readTriggers(const Words& words, RcAction* action) {
        static constexpr std::string_view kProperty = "property:";
        if (words.size() % 2 != 0) return "triggers must be joined by &&";
        for (size_t i = 1; i < words.size(); i += 2) {
            if (i > 1 && words[i - 1] != "&&") return "triggers must be joined by &&";
            const std::string& trigger = words[i];
            if (trigger.compare(0, kProperty.size(), kProperty) != 0) {
                if (!action->event.empty()) return "an action has one event at most";
                action->event = trigger;
                continue;
            }
            const size_t equals = trigger.find('=', kProperty.size());
            if (equals == std::string::npos || equals == kProperty.size()) {
                return "'" + trigger + "' is not property:NAME=VALUE";
            }
            action->properties.emplace_back(
                    trigger.substr(kProperty.size(), equals - kProperty.size()),
                    trigger.substr(equals + 1));
        }
        return {};
    }

    std::string mName;
    std::string mWhere;
    RcScript* mScript;
    Block mBlock = Block::None;
};

}  // namespace

bool RcService::inClass(std::string_view className) const {
    return std::find(classes.begin(), classes.end(), className) != classes.end();
}

void parseRc(std::string_view name, std::string_view text, RcScript* script) {
    Parser parser(name, script);
    for (const RcLine& line : tokenizeRc(text)) parser.line(line);
}

std::optional<mode_t> parseMode(std::string_view text) {
    mode_t mode = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), mode, 8);
    const bool whole = result.ec == std::errc{} && result.ptr == text.data() + text.size();
    if (!whole || mode > 07777) return std::nullopt;
    return mode;
}

}  // namespace android::kavel::host
