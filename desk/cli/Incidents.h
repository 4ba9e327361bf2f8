#pragma once

#include <string>
#include <vector>

#include <CLI/App.hpp>

#include "desk/model/Evidence.h"
#include "desk/model/Timeline.h"

namespace kaveldesk {

/** One archive and its timeline. */
struct IncidentData {
    Evidence evidence;
    Timeline timeline;
};

/** Adds the argument for what readIncidents() reads. */
void addPaths(CLI::App& command, std::vector<std::string>& paths);

/**
 * Reads archives, extracted folders and folders with archives in them, and says on a terminal what
 * it reads. Throws std::runtime_error for a path that cannot be opened.
 */
std::vector<IncidentData> readIncidents(const std::vector<std::string>& paths);

/** The problems and notes of its files, then those of its timeline. */
std::vector<Problem> problemsOf(const IncidentData& incident);

/** Throws std::runtime_error if no file of @p incidents has text that was read. */
void requireText(const std::vector<IncidentData>& incidents);

/** Writes the problems of @p incident, without notes, to standard error, safe for a terminal. */
void printProblems(const IncidentData& incident);

/** Writes the notes about its timeline. */
void printNotes(const IncidentData& incident);

}  // namespace kaveldesk
