#include "tools/CommandLine.h"

#include <algorithm>

#include "tools/Text.h"
#include "tools/Values.h"

namespace android::kavel::tools {
namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isOption(const std::string& word) {
    return word.size() > 1 && word[0] == '-' && !isDigit(word[1]);
}

const Option* findOption(const Command& command, std::string_view name) {
    const Option* end = command.options + command.optionCount;
    const Option* found = std::find_if(command.options, end,
                                       [&](const Option& option) { return option.name == name; });
    return found == end ? nullptr : found;
}

}  // namespace

std::optional<std::string> Arguments::value(std::string_view option) const {
    const auto found = options.find(option);
    if (found == options.end()) return std::nullopt;
    return found->second;
}

int64_t Arguments::number(std::string_view option, int64_t min, int64_t max,
                          int64_t fallback) const {
    const auto found = options.find(option);
    if (found == options.end()) return fallback;
    return integerInRange("--" + std::string(option), found->second, min, max);
}

std::string Arguments::text(std::string_view option) const {
    std::string text = value(option).value_or("");
    if (!isUtf8(text)) throw UsageError("--" + std::string(option) + " is not valid UTF-8");
    return text;
}

Arguments parseArguments(const Command& command, const std::vector<std::string>& words) {
    Arguments arguments;
    bool optionsEnded = false;
    for (auto word = words.begin(); word != words.end(); ++word) {
        if (optionsEnded || !isOption(*word)) {
            arguments.operands.push_back(*word);
            continue;
        }
        if (*word == "--") {
            optionsEnded = true;
            continue;
        }
        if (*word == "--help") {
            arguments.wantsHelp = true;
            return arguments;
        }
        const size_t equals = word->find('=');
        const std::string dashed = word->substr(0, equals);
        const Option* option =
                dashed.rfind("--", 0) == 0 ? findOption(command, dashed.substr(2)) : nullptr;
        if (option == nullptr) throw UsageError("unknown option '" + printable(dashed) + "'");
        std::string value;
        if (equals != std::string::npos) {
            if (!option->takesValue) throw UsageError(dashed + " takes no value");
            value = word->substr(equals + 1);
        } else if (option->takesValue) {
            const bool isLast = word + 1 == words.end();
            if (!option->valueOptional || !(isLast || isOption(word[1]))) {
                if (isLast) throw UsageError(dashed + " needs a value");
                value = *++word;
            }
        }
        if (!arguments.options.emplace(option->name, value).second) {
            throw UsageError(dashed + " is given twice");
        }
    }
    const size_t wanted = command.operand.empty() ? 0 : 1;
    const std::vector<std::string>& operands = arguments.operands;
    if (operands.size() > wanted && !command.takesMore) {
        throw UsageError("unexpected argument '" + printable(operands[wanted]) + "'");
    }
    if (operands.size() < wanted && !command.operandOptional)
        throw UsageError(std::string(command.operand) + " is missing");
    return arguments;
}

}  // namespace android::kavel::tools
