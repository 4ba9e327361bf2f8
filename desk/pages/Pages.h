#pragma once

#include <string>

#include <CLI/App.hpp>

namespace kaveldesk {

// Both pages are made from the options and commands themselves, so that they cannot differ from
// them.

/** The man page, as roff. @p version is that of the program. */
std::string manPage(const CLI::App& app, const std::string& version);

/** The script that completes the command line in bash. */
std::string bashCompletion(const CLI::App& app);

}  // namespace kaveldesk
