#include "tools/CommandLine.h"

#include <android-base/strings.h>

#include "tools/Suggestion.h"
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

/** Returns the option that @p dashed names. @throws UsageError if there is none */
const Option& findOption(const Command& command, std::string_view dashed) {
    std::vector<std::string> names = {"--help"};
    for (const Option& option : command.options) {
        names.push_back("--" + std::string(option.name));
        if (names.back() == dashed) return option;
        if (option.letter != '\0' && dashed == std::string{'-', option.letter}) return option;
    }
    throw UsageError("unknown option '" + printable(dashed) + "'" + didYouMean(dashed, names));
}

/** Returns the option whose letter @p word has in front of its value, as in "-n5"; null if none. */
const Option* attachedLetter(const Command& command, std::string_view word) {
    if (word.size() < 3 || word[1] == '-' || word[2] == '=') return nullptr;
    for (const Option& option : command.options) {
        if (option.letter == word[1] && option.takesValue()) return &option;
    }
    return nullptr;
}

/** The operands that a command takes, from its row of the table. */
struct OperandCount {
    std::vector<std::string> required;
    size_t max = 0;
};

OperandCount operandsOf(const Command& command) {
    OperandCount count;
    for (const std::string& word : base::Split(std::string(command.operands), " ")) {
        if (word.empty()) continue;
        if (word[0] != '[' && count.required.size() == count.max) count.required.push_back(word);
        const bool isRepeated = word.find("...") != std::string::npos;
        count.max = isRepeated ? SIZE_MAX : count.max + 1;
    }
    return count;
}

void checkCount(const Command& command, const std::vector<std::string>& operands) {
    const OperandCount count = operandsOf(command);
    if (operands.size() > count.max) {
        throw UsageError("unexpected argument '" + printable(operands[count.max]) + "'");
    }
    if (operands.size() >= count.required.size()) return;
    const std::string& missing = count.required[operands.size()];
    throw UsageError(missing.substr(0, missing.find_first_of("|.")) + " is missing");
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
        if (*word == "--help" || *word == "-h") {
            arguments.wantsHelp = true;
            return arguments;
        }
        const size_t equals = word->find('=');
        std::string dashed = word->substr(0, equals);
        const Option* const attached = attachedLetter(command, *word);
        if (attached != nullptr) dashed.resize(2);
        const Option& option = findOption(command, dashed);
        std::string value;
        if (attached != nullptr) {
            value = word->substr(2);
        } else if (equals != std::string::npos) {
            if (!option.takesValue()) throw UsageError(dashed + " takes no value");
            value = word->substr(equals + 1);
        } else if (option.takesValue()) {
            const bool isLast = word + 1 == words.end();
            if (!option.isValueOptional() || !(isLast || isOption(word[1]))) {
                if (isLast) throw UsageError(dashed + " needs a value");
                value = *++word;
            }
        }
        if (!arguments.options.emplace(option.name, value).second) {
            throw UsageError(dashed + " is given twice");
        }
    }
    checkCount(command, arguments.operands);
    return arguments;
}

}  // namespace android::kavel::tools
