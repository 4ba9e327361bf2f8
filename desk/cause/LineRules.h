#pragma once

#include <string_view>

#include "desk/cause/Facts.h"

namespace kaveldesk {

/** How one kind of line is recognised and read. */
struct LineRule {
    FactKind kind;
    std::string_view tags;  // blank-separated tags of logcat; "kernel" for the kernel log
    std::string_view mark;  // text that the message contains
    bool atStart;           // the message starts with the mark
    /** Fills in the fact from the message. Returns false if the line is another one after all. */
    bool (*read)(std::string_view message, Fact& fact);
};

/** Reads @p message by the first rule that fits. An empty @p tag fits all rules. */
bool readFact(std::string_view tag, std::string_view message, Fact& fact);

/** True if a rule or the reader of stacks wants lines with this tag. */
bool isWanted(std::string_view tag);

}  // namespace kaveldesk
