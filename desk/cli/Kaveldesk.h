#pragma once

#include <memory>

#include <CLI/App.hpp>

namespace kaveldesk {

/** The program's options and commands. A parse runs the command. */
std::unique_ptr<CLI::App> makeApp();

/** Runs kaveldesk with the arguments of main(). Returns the exit status: 0, 1 (failed) or 2
 * (usage). */
int run(int argc, const char* const* argv);

}  // namespace kaveldesk
