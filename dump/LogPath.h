#pragma once

#include <string>

#include "event/EventParameters.h"
#include "event/KavelEvent.h"

namespace android::kavel {

/**
 * Creates the staging directory and a log folder for @p event with two commands, and waits for
 * them. Returns the path of the folder, even if it could not be created; an error line then says
 * so. Creates nothing for a null event and returns "KavelEventIsNullPtr". Any thread.
 */
std::string buildLogPathFolderName(EventParameters& parameters, const KavelEvent* event);

}  // namespace android::kavel
