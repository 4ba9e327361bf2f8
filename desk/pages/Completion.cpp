#include <fmt/format.h>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "desk/pages/OptionValue.h"
#include "desk/pages/Pages.h"

namespace kaveldesk {
namespace {

// $word is the text to complete, $before the word ahead of it, $line the words of the command line.
// Words are split at blanks only, because the names of archives have characters at which bash
// splits.
constexpr const char* kStart = R"END(# Completion of kaveldesk's command line, for bash.
_kaveldesk() {
    local typed=${COMP_LINE:0:COMP_POINT} words='' options='' texts='' isFile=yes line
    local word=${typed##* } before=${typed% *}
    before=${before##* }
    COMPREPLY=()
    # --option=value
    [[ $word != --*=* ]] || { before=${word%%=*} word=${word#*=}; }
    read -ra line <<< "$typed"
    [[ $typed == *' '*' '* ]] || line=()  # the command's name is not complete
    case ${line[1]-} in
)END";

constexpr const char* kEnd = R"END(    esac
    [ -z "$words" ] || isFile=
    [[ $texts != *" $before "* ]] || isFile=
    [[ $word != -* ]] || { words=$options isFile=; }
    [ -z "$words" ] || mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
    [ -z "$isFile" ] || mapfile -t COMPREPLY < <(compgen -f -- "$word")

    # Bash replaces only the text after the last of these characters.
    local breaks=${COMP_WORDBREAKS//[^@:=]/} part
    if [ -n "$breaks" ] && [[ $word == *[$breaks]* ]]; then
        part=${word%"${word##*["$breaks"]}"}
        COMPREPLY=("${COMPREPLY[@]#"$part"}")
    fi
}
complete -o filenames -F _kaveldesk kaveldesk
)END";

bool isFile(const std::string& type) {
    return type == "FILE" || type == "PATH" || type == "DIR";
}

/** Sets options, texts (the options whose value cannot be completed) and words (for $before). */
std::string branch(const CLI::App& app, const std::string& own_words) {
    std::string options;
    std::string texts;
    std::string cases;
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_group().empty()) continue;
        const OptionValue value = valueOf(*option);
        const std::vector<std::string> names = namesOf(*option);
        for (const std::string& name : names) {
            options += " " + name;
            if (value.choices.empty() && !value.type.empty() && !isFile(value.type))
                texts += " " + name;
        }
        if (!names.empty() && !value.choices.empty()) {
            cases += fmt::format("        {}) words='{}' ;;\n", fmt::join(names, "|"),
                                 fmt::join(value.choices, " "));
        }
    }
    std::string text = fmt::format("        options='{}' texts='{} '\n", options, texts);
    if (!own_words.empty()) text += fmt::format("        words='{}'\n", own_words);
    if (!cases.empty()) text += "        case $before in\n" + cases + "        esac\n";
    return text + "        ;;\n";
}

}  // namespace

std::string bashCompletion(const CLI::App& app) {
    std::string commands;
    std::string branches;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        commands += " " + command->get_name();
        branches += fmt::format("    {})\n", command->get_name()) + branch(*command, "");
    }
    return kStart + branches + "    *)\n" + branch(app, commands) + kEnd;
}

}  // namespace kaveldesk
