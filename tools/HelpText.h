#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "tools/CommandLine.h"

namespace android::kavel::tools {

using CommandList = std::vector<const Command*>;

inline constexpr std::string_view kProgramSummary =
        "configures dravo_kavel, reports events to it, and shows its archives and statistics";

/** What holds for all commands: paragraphs, one on each line. */
inline constexpr std::string_view kProgramNotes =
        "Event ids and masks are decimal or 0x numbers. A mask can also be names of log bits, such "
        "as \"android,kernel,display\".\n"
        "Options may come before or after the other words; a value follows after a blank or \"=\". "
        "After \"--\", all words are no options.";

inline constexpr Option kHelpOption{"help", "", "show this text", 'h'};

struct ExitCodeText {
    int code;
    std::string_view meaning;
};

inline constexpr ExitCodeText kExitCodeTexts[] = {
        {kExitOk, "done"},
        {kExitRefused, "not found, broken or refused, or the daemon is not running"},
        {kExitUsage, "wrong usage, nothing was done"},
};

/** Returns the option's forms, such as "-n, --limit N". */
std::string optionForms(const Option& option);

/** Returns the words after the program's name, such as "show [OPTIONS] ARCHIVE". */
std::string usageOf(const Command& command);

/** Prints the text of "kavelctl COMMAND --help". */
void printCommandHelp(std::ostream& out, const Command& command);

/** Prints the text of "kavelctl --help". */
void printProgramHelp(std::ostream& out, const CommandList& commands);

}  // namespace android::kavel::tools
