#include <array>
#include <iomanip>

#include "tools/Commands.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

constexpr std::array kCommands{&kSetCommand,     &kSendCommand,  &kListCommand, &kShowCommand,
                               &kExplainCommand, &kStatsCommand, &kRawCommand};

void printHelp(std::ostream& out) {
    out << "usage: kavelctl COMMAND [ARGUMENTS]\n"
           "       kavelctl COMMAND --help\n"
           "       kavelctl --version\n"
           "\n"
           "Configures dravo_kavel, reports events to it, and shows its archives and statistics.\n"
           "\n"
           "commands:\n";
    for (const Command* command : kCommands) {
        out << "  " << std::left << std::setw(9) << command->name << command->summary << '\n';
    }
    out << "\n"
           "Event ids and masks are decimal or 0x numbers. A mask can also be names of log bits,\n"
           "such as \"android,kernel,display\".\n"
           "\n"
           "exit codes: 0 done; 1 not found, broken or refused, or the daemon is not running;\n"
           "2 wrong usage, nothing was done\n";
}

const Command* findCommand(const std::string& name) {
    for (const Command* command : kCommands) {
        if (command->name == name) return command;
    }
    return nullptr;
}

int runCommand(const Command& command, const std::vector<std::string>& words,
               const Output& output) {
    try {
        const Arguments arguments = parseArguments(command, words);
        if (!arguments.wantsHelp) return command.run(arguments, output);
        output.out << command.help;
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

}  // namespace

int runKavelctl(const std::vector<std::string>& words, const Output& output) {
    int exitCode = kExitOk;
    if (words.empty()) {
        printHelp(output.err);
        exitCode = kExitUsage;
    } else if (words[0] == "--help") {
        printHelp(output.out);
    } else if (words[0] == "--version") {
        output.out << "kavelctl " KAVELCTL_VERSION "\n";
    } else if (const Command* command = findCommand(words[0])) {
        exitCode = runCommand(*command, {words.begin() + 1, words.end()}, output);
    } else {
        output.note() << "unknown command '" << printable(words[0]) << "'; see 'kavelctl --help'\n";
        exitCode = kExitUsage;
    }
    if (!output.out.flush()) {
        output.note() << "cannot write the output\n";
        return kExitRefused;
    }
    return exitCode;
}

}  // namespace android::kavel::tools
