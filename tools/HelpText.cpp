#include "tools/HelpText.h"

#include <android-base/strings.h>

#include <algorithm>

namespace android::kavel::tools {
namespace {

constexpr size_t kLineWidth = 80;

/** A name and the text about it. */
struct Item {
    std::string name;
    std::string text;
};

/** Breaks @p text into lines; all but the first begin at @p column. Ends with a newline. */
void printWrapped(std::ostream& out, std::string_view text, size_t column) {
    size_t used = column;
    bool isFirst = true;
    for (const std::string& word : base::Split(std::string(text), " ")) {
        if (!isFirst && used + 1 + word.size() > kLineWidth) {
            out << '\n' << std::string(column, ' ');
            used = column;
        } else if (!isFirst) {
            out << ' ';
            ++used;
        }
        out << word;
        used += word.size();
        isFirst = false;
    }
    out << '\n';
}

void printParagraphs(std::ostream& out, std::string_view text) {
    for (const std::string& paragraph : base::Split(std::string(text), "\n")) {
        printWrapped(out, paragraph, 0);
    }
}

void printItems(std::ostream& out, const std::vector<Item>& items) {
    size_t width = 0;
    for (const Item& item : items) width = std::max(width, item.name.size());
    for (const Item& item : items) {
        out << "  " << item.name << std::string(width + 2 - item.name.size(), ' ');
        printWrapped(out, item.text, width + 4);
    }
}

}  // namespace

std::string optionForms(const Option& option) {
    std::string text;
    if (option.letter != '\0') text = std::string{'-', option.letter} + ", ";
    text += "--" + std::string(option.name);
    if (option.takesValue()) text += " " + std::string(option.value);
    return text;
}

std::string usageOf(const Command& command) {
    std::string text(command.name);
    if (command.options.begin() != command.options.end()) text += " [OPTIONS]";
    if (!command.operands.empty()) text += " " + std::string(command.operands);
    return text;
}

void printCommandHelp(std::ostream& out, const Command& command) {
    out << "usage: kavelctl " << usageOf(command) << "\n\n";
    printParagraphs(out, command.description);
    out << '\n';
    std::vector<Item> items;
    for (const Option& option : command.options) {
        items.push_back({optionForms(option), std::string(option.help)});
    }
    items.push_back({optionForms(kHelpOption), std::string(kHelpOption.help)});
    printItems(out, items);
    if (!command.details.empty()) out << '\n' << command.details;
}

void printProgramHelp(std::ostream& out, const CommandList& commands) {
    out << "usage: kavelctl COMMAND [ARGUMENTS]\n"
           "       kavelctl help COMMAND\n"
           "       kavelctl --version\n"
           "\n";
    printWrapped(out, std::string("kavelctl ").append(kProgramSummary).append("."), 0);
    out << "\ncommands:\n";
    std::vector<Item> items;
    for (const Command* command : commands) {
        items.push_back({std::string(command->name), std::string(command->summary)});
    }
    printItems(out, items);
    out << '\n';
    printParagraphs(out, kProgramNotes);
    out << "\nexit codes:\n";
    items.clear();
    for (const ExitCodeText& row : kExitCodeTexts) {
        items.push_back({std::to_string(row.code), std::string(row.meaning)});
    }
    printItems(out, items);
}

}  // namespace android::kavel::tools
