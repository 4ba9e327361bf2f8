#include <android-base/strings.h>

#include "platform/RoffText.h"
#include "tools/Pages.h"

namespace android::kavel::tools {
namespace {

void printParagraphs(std::ostream& out, std::string_view text) {
    for (const std::string& paragraph : base::Split(std::string(text), "\n")) {
        out << ".PP\n" << roffText(paragraph) << '\n';
    }
}

void printItem(std::ostream& out, const std::string& name, std::string_view text) {
    out << ".TP\n.B " << roffText(name) << '\n' << roffText(text) << '\n';
}

}  // namespace

void printManPage(std::ostream& out, const CommandList& commands) {
    out << ".TH KAVELCTL 1 \"\" \"dravo_kavel " KAVELCTL_VERSION "\"\n.SH NAME\nkavelctl \\- "
        << roffText(kProgramSummary) << "\n.SH SYNOPSIS\n.B kavelctl\n"
        << "COMMAND [ARGUMENTS]\n.SH DESCRIPTION\n";
    printParagraphs(out, kProgramNotes);
    out << ".SH COMMANDS\n";
    for (const Command* command : commands) {
        out << ".SS kavelctl " << roffText(usageOf(*command)) << '\n';
        printParagraphs(out, command->description);
        for (const Option& option : command->options) {
            printItem(out, optionForms(option), option.help);
        }
        if (!command->details.empty()) {
            out << ".PP\n.nf\n" << roffText(command->details) << ".fi\n";
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
