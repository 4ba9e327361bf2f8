#pragma once

#include <ostream>

#include "tools/HelpText.h"

namespace android::kavel::tools {

// Files beside the program, made from the command table when kavelctl is built.

/** Prints the man page, in the language of groff and mandoc. */
void printManPage(std::ostream& out, const CommandList& commands);

/** Prints the completion script for bash, which needs no other script. */
void printCompletion(std::ostream& out, const CommandList& commands);

}  // namespace android::kavel::tools
