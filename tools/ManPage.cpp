#include <android-base/strings.h>

#include "tools/Pages.h"

namespace android::kavel::tools {
namespace {

/** Returns @p text so that no character of it has a meaning for roff. */
std::string escaped(std::string_view text) {
    std::string result;
    bool isLineStart = true;
    for (const char c : text) {
        if (isLineStart && (c == '.' || c == '\'')) result += "\\&";
        if (c == '\\') {
            result += "\\e";
        } else if (c == '-') {
            result += "\\-";
        } else {
            result += c;
        }
        isLineStart = c == '\n';
    }
    return result;
}

void printParagraphs(std::ostream& out, std::string_view text) {
    for (const std::string& paragraph : base::Split(std::string(text), "\n")) {
        out << ".PP\n" << escaped(paragraph) << '\n';
    }
}

void printItem(std::ostream& out, const std::string& name, std::string_view text) {
    out << ".TP\n.B " << escaped(name) << '\n' << escaped(text) << '\n';
}

}  // namespace

void printManPage(std::ostream& out, const CommandList& commands) {
    out << ".TH KAVELCTL 1 \"\" \"dravo_kavel " KAVELCTL_VERSION "\"\n.SH NAME\nkavelctl \\- "
        << escaped(kProgramSummary) << "\n.SH SYNOPSIS\n.B kavelctl\n"
        << "COMMAND [ARGUMENTS]\n.SH DESCRIPTION\n";
    printParagraphs(out, kProgramNotes);
    out << ".SH COMMANDS\n";
    for (const Command* command : commands) {
        out << ".SS kavelctl " << escaped(usageOf(*command)) << '\n';
        printParagraphs(out, command->description);
        for (const Option& option : command->options) {
            printItem(out, optionForms(option), option.help);
        }
        if (!command->details.empty()) {
            out << ".PP\n.nf\n" << escaped(command->details) << ".fi\n";
        }
    }
    out << ".SH OPTIONS OF EACH COMMAND\n";
    printItem(out, optionForms(kHelpOption), kHelpOption.help);
    out << ".SH EXIT STATUS\n";
    for (const ExitCodeText& row : kExitCodeTexts) {
        printItem(out, std::to_string(row.code), row.meaning);
    }
}

}  // namespace android::kavel::tools
