#include <algorithm>

#include "dump/LogCommands.h"
#include "event/EventTypes.h"
#include "tools/Pages.h"

namespace android::kavel::tools {
namespace {

std::string lower(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return result;
}

/** Returns the name of a value in a table row: "ARCHIVE" for "[ARCHIVE...]" and "ARCHIVE|-N". */
std::string valueName(std::string_view text) {
    const size_t begin = text.find_first_not_of('[');
    if (begin == std::string_view::npos) return "";
    return std::string(text.substr(begin, text.find_first_of("]|. ", begin) - begin));
}

std::string eventNames() {
    std::string words;
    for (const EventType& type : kEventTypes) {
        if (!type.name.empty()) words += " " + lower(type.name);
    }
    return words;
}

std::string bitNames() {
    std::string words;
    for (const LogBit& bit : kLogBits) words += " " + lower(bit.name);
    return words;
}

// $word is the text to complete, $value the name of what is wanted there, $options the options.
constexpr std::string_view kEnd = R"END(
    local words=
    case $value in
    COMMAND) words=$commands ;;
    EVENT) words=$events ;;
    MASK) words=$masks ;;
    DIR) mapfile -t COMPREPLY < <(compgen -d -- "$word") ;;
    PATH) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
    ARCHIVE) mapfile -t COMPREPLY < <(
        compgen -f -- "$word"
        cd /data/persist_log/PLX/de/kavel 2> /dev/null && compgen -f -X '!*.tar.gz' -- "$word") ;;
    esac
    [[ $word != -* ]] || words=$options
    # The last name of a mask; the ones before it stay.
    local before_comma=
    [ "$value" != MASK ] || before_comma=${word%"${word##*,}"}
    [ -z "$words" ] || mapfile -t COMPREPLY < <(
        compgen -P "$before_comma" -W "$words" -- "${word#"$before_comma"}")

    # Bash replaces only the text after the last of these characters, which archive names contain.
    local breaks=${COMP_WORDBREAKS//[^@:=]/} part
    if [ -n "$breaks" ] && [[ $word == *[$breaks]* ]]; then
        part=${word%"${word##*["$breaks"]}"}
        COMPREPLY=("${COMPREPLY[@]#"$part"}")
    fi
}
complete -o filenames -F _kavelctl kavelctl
)END";

}  // namespace

void printCompletion(std::ostream& out, const CommandList& commands) {
    out << "# Completion of kavelctl's command line, for bash.\n_kavelctl() {\n"
           "    local typed=${COMP_LINE:0:COMP_POINT} value='' options='' commands='";
    for (const Command* command : commands) out << ' ' << command->name;
    out << "'\n    local events='" << eventNames() << "'\n    local masks='" << bitNames()
        << "'\n    COMPREPLY=()\n"
           "    local word=${typed##* } before=${typed% *} line\n"
           "    before=${before##* }\n"
           "    # --option=value\n"
           "    [[ $word != --*=* ]] || { before=${word%%=*} word=${word#*=}; }\n"
           "    read -ra line <<< \"$typed\"\n"
           "    [[ $typed == *' '*' '* ]] || line=()  # the command's name is not complete\n"
           "    case ${line[1]-} in\n";
    for (const Command* command : commands) {
        out << "    " << command->name << ") value='" << valueName(command->operands)
            << "' options='";
        for (const Option& option : command->options) out << "--" << option.name << ' ';
        out << "--help'\n        case $before in\n";
        for (const Option& option : command->options) {
            if (!option.takesValue()) continue;
            out << "        ";
            if (option.letter != '\0') out << '-' << option.letter << " | ";
            out << "--" << option.name << ") value='" << valueName(option.value) << "' ;;\n";
        }
        out << "        esac ;;\n";
    }
    out << "    *) value=COMMAND options='--help --version' ;;\n    esac\n" << kEnd;
}

}  // namespace android::kavel::tools
