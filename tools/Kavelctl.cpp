#include "dump/LogFolderName.h"
#include "tools/Commands.h"
#include "tools/HelpText.h"
#include "tools/Suggestion.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

/** @throws UsageError if there is no such command */
const Command& findCommand(const std::string& name) {
    std::vector<std::string> names;
    for (const Command* command : allCommands()) {
        if (command->name == name) return *command;
        names.emplace_back(command->name);
    }
    throw UsageError("unknown command '" + printable(name) + "'" + didYouMean(name, names));
}

int runHelp(const Arguments& arguments, const Output& output) {
    if (arguments.operands.empty()) {
        printProgramHelp(output.out, allCommands());
    } else {
        printCommandHelp(output.out, findCommand(arguments.operands.front()));
    }
    return kExitOk;
}

const Command kHelpCommand{"help",
                           "[COMMAND]",
                           "show the help of a command",
                           "Shows the help of COMMAND, or that of the program.",
                           {},
                           runHelp};

int runCommand(const Command& command, const std::vector<std::string>& words,
               const Output& output) {
    try {
        const Arguments arguments = parseArguments(command, words);
        if (!arguments.wantsHelp) return command.run(arguments, output);
        printCommandHelp(output.out, command);
        return kExitOk;
    } catch (const UsageError& error) {
        output.note() << command.name << ": " << error.what() << "; see 'kavelctl " << command.name
                      << " --help'\n";
        return kExitUsage;
    } catch (const CommandError& error) {
        output.note() << error.what() << '\n';
        return kExitRefused;
    }
}

int runWords(const std::vector<std::string>& words, const Output& output) {
    if (words.empty()) {
        printProgramHelp(output.err, allCommands());
        return kExitUsage;
    }
    if (words[0] == "--version") {
        output.out << "kavelctl " KAVELCTL_VERSION "\n";
        return kExitOk;
    }
    if (words[0] == "--help" || words[0] == "-h") return runHelp({}, output);
    try {
        return runCommand(findCommand(words[0]), {words.begin() + 1, words.end()}, output);
    } catch (const UsageError& error) {
        output.note() << error.what() << "; see 'kavelctl --help'\n";
        return kExitUsage;
    }
}

}  // namespace

std::filesystem::path directoryOf(const Arguments& arguments) {
    return arguments.value("dir").value_or(kArchiveDirectory);
}

std::filesystem::path statisticPath(const Arguments& arguments) {
    return arguments.value("file").value_or("/data/persist_log/PLX/statistics.jsonl");
}

const CommandList& allCommands() {
    static const CommandList kCommands{
            &kSetCommand,     &kSendCommand,  &kStatusCommand, &kWhyCommand,
            &kListCommand,    &kShowCommand,  &kCatCommand,    &kExtractCommand,
            &kVerifyCommand,  &kPruneCommand, &kWaitCommand,   &kWatchCommand,
            &kExplainCommand, &kStatsCommand, &kRawCommand,    &kHelpCommand};
    return kCommands;
}

int runKavelctl(const std::vector<std::string>& words, const Output& output) {
    const int exitCode = runWords(words, output);
    if (!output.out.flush()) {
        output.note() << "cannot write the output\n";
        return kExitRefused;
    }
    return exitCode;
}

}  // namespace android::kavel::tools
