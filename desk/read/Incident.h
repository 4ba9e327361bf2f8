#pragma once

#include <vector>

#include "desk/model/Evidence.h"
#include "desk/parse/IncidentFiles.h"

namespace kaveldesk {

/** The events of @p evidence in their order: of the events file, or else of the history. */
std::vector<ReportedEvent> eventsOf(const Evidence& evidence);

/**
 * Fills the incident of @p evidence from the archive's name, the names of its files, the events
 * file, the history and the extra info. What is missing gets a problem.
 */
void findIncident(Evidence& evidence);

}  // namespace kaveldesk
