#include <string_view>

#include <fmt/format.h>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "desk/pages/OptionValue.h"
#include "desk/pages/Pages.h"

namespace kaveldesk {
namespace {

/** @p text so that no character of it has a meaning for roff. */
std::string escaped(std::string_view text) {
    std::string result;
    bool is_line_start = true;
    for (const char c : text) {
        if (is_line_start && (c == '.' || c == '\'')) result += "\\&";
        if (c == '\\') {
            result += "\\e";
        } else if (c == '-') {
            result += "\\-";
        } else {
            result += c;
        }
        is_line_start = c == '\n';
    }
    return result;
}

std::string bold(std::string_view text) {
    return "\\fB" + escaped(text) + "\\fR";
}

std::string italic(std::string_view text) {
    return "\\fI" + escaped(text) + "\\fR";
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
        text += ".TP\n" + forms(*option) + '\n' + escaped(option->get_description());
        const std::vector<std::string> choices = valueOf(*option).choices;
        if (!choices.empty()) text += escaped(fmt::format(". One of {}", fmt::join(choices, ", ")));
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
                       escaped(app.get_description()) + "\n.SH OPTIONS\n" + options(app) +
                       ".SH COMMANDS\n";
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        text += ".SS " + synopsis(*command) + '\n' + escaped(command->get_description()) + "\n" +
                options(*command);
        if (const std::string footer = command->get_footer(); !footer.empty()) {
            text += ".PP\n.nf\n" + escaped(footer) + "\n.fi\n";
        }
    }
    return text +
           ".SH EXIT STATUS\n"
           ".TP\n0\nThe command has done its work.\n"
           ".TP\n1\nIt has failed, or something was not found.\n"
           ".TP\n2\nThe command line is wrong.\n";
}

}  // namespace kaveldesk
