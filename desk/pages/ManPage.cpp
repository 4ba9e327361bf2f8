#include <string_view>

#include <fmt/format.h>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "desk/pages/OptionValue.h"
#include "desk/pages/Pages.h"
#include "platform/RoffText.h"

namespace kaveldesk {
namespace {

using android::kavel::roffText;

std::string bold(std::string_view text) {
    return "\\fB" + roffText(text) + "\\fR";
}

std::string italic(std::string_view text) {
    return "\\fI" + roffText(text) + "\\fR";
}

std::string forms(const CLI::Option& option) {
    std::vector<std::string> names = namesOf(option);
    if (names.empty()) return italic(option.get_name(true));
    for (std::string& name : names) name = bold(name);
    const std::string type = valueOf(option).type;
    return fmt::format("{}{}{}", fmt::join(names, ", "), type.empty() ? "" : " ", italic(type));
}

std::string synopsis(const CLI::App& command) {
    std::string text = bold("kaveldesk " + command.get_name());
    bool has_optional = false;
    for (const CLI::Option* option : command.get_options()) {
        const std::string more = option->get_items_expected_max() > 1 ? "..." : "";
        if (!option->nonpositional()) {
            const std::string name = italic(option->get_name(true)) + more;
            text += option->get_required() ? " " + name : " [" + name + "]";
        } else if (option->get_required()) {
            text += " " + forms(*option);
        } else {
            has_optional = true;
        }
    }
    return has_optional ? text + " [" + italic("OPTIONS") + "]" : text;
}

std::string options(const CLI::App& app) {
    std::string text;
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_group().empty()) continue;  // hidden
        text += ".TP\n" + forms(*option) + '\n' + roffText(option->get_description());
        const std::vector<std::string> choices = valueOf(*option).choices;
        if (!choices.empty())
            text += roffText(fmt::format(". One of {}", fmt::join(choices, ", ")));
        text += '\n';
    }
    return text;
}

}  // namespace

std::string manPage(const CLI::App& app, const std::string& version) {
    std::string text = fmt::format(".TH KAVELDESK 1 \"\" \"dravo_kavel {}\"\n", version) +
                       ".SH NAME\nkaveldesk \\- from an archive to its cause\n"
                       ".SH SYNOPSIS\n.B kaveldesk\n\\fICOMMAND\\fR [\\fIARGUMENTS\\fR]\n"
                       ".SH DESCRIPTION\n" +
                       roffText(app.get_description()) + "\n.SH OPTIONS\n" + options(app) +
                       ".SH COMMANDS\n";
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        text += ".SS " + synopsis(*command) + '\n' + roffText(command->get_description()) + "\n" +
                options(*command);
        if (const std::string footer = command->get_footer(); !footer.empty()) {
            text += ".PP\n.nf\n" + roffText(footer) + "\n.fi\n";
        }
    }
    return text +
           ".SH EXIT STATUS\n"
           ".TP\n0\nThe command has done its work.\n"
           ".TP\n1\nIt has failed, or something was not found.\n"
           ".TP\n2\nThe command line is wrong.\n";
}

}  // namespace kaveldesk
