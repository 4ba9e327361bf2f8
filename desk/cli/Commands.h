#pragma once

#include <CLI/App.hpp>

namespace kaveldesk {

// Each function adds one command. The command's callback throws std::runtime_error with a message
// for the user if it cannot do its work, and CLI::ValidationError for a bad value of an option.

void addCause(CLI::App& app);
void addReport(CLI::App& app);
void addServe(CLI::App& app);
void addTimeline(CLI::App& app);
void addMask(CLI::App& app);
void addIndex(CLI::App& app);
void addTop(CLI::App& app);
void addTrend(CLI::App& app);
void addCompare(CLI::App& app);
void addSimilar(CLI::App& app);
void addShow(CLI::App& app);
void addSql(CLI::App& app);

}  // namespace kaveldesk
