#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <CLI/App.hpp>

#include "desk/questions/Filter.h"
#include "desk/store/Store.h"

namespace kaveldesk {

/** The options that all questions have. An empty value asks for catches without one. */
struct FilterOptions {
    std::string db;
    std::string since;
    std::string until;
    std::optional<std::string> event;
    std::optional<std::string> process;
    std::optional<std::string> build;
};

/** Adds --db. */
void addPlaceOption(CLI::App& command, std::string& db);

/** The place that --db names, or else the default one. For writing, makes the folder of that. */
std::string placeOf(const std::string& db, Access access);

/** Adds --db and the options of a filter, except --build if not @p withBuild. */
void addFilterOptions(CLI::App& command, FilterOptions& options, bool withBuild);

/**
 * The filter that the options ask for. Throws CLI::ValidationError for a time that is none.
 * @param nowUtc  milliseconds since the epoch, for spans such as 7d
 */
Filter filterOf(const FilterOptions& options, int64_t nowUtc);

}  // namespace kaveldesk
