#pragma once

#include <string>
#include <vector>

#include "desk/model/Evidence.h"
#include "desk/model/Timeline.h"

namespace kaveldesk {

/** One archive and its timeline. */
struct IncidentData {
    Evidence evidence;
    Timeline timeline;
};

/**
 * Reads archives, extracted folders and folders with archives in them, and says on a terminal what
 * it reads. Throws std::runtime_error for a path that cannot be opened.
 */
std::vector<IncidentData> readIncidents(const std::vector<std::string>& paths);

/** Throws std::runtime_error if no file of @p incidents has text that was read. */
void requireText(const std::vector<IncidentData>& incidents);

/** Writes all problems of @p incident to standard error, safe for a terminal. */
void printProblems(const IncidentData& incident);

}  // namespace kaveldesk
