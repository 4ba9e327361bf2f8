#pragma once

#include "desk/model/Evidence.h"

namespace kaveldesk {

/**
 * Fills the incident of @p evidence from the archive's name, the names of its files, the events
 * file, the history and the extra info. What is missing gets a problem.
 */
void findIncident(Evidence& evidence);

}  // namespace kaveldesk
