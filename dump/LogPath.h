#pragma once

#include <string>

#include "event/EventParameters.h"
#include "event/KavelEvent.h"

namespace android::kavel {

/**
 * Makes a log folder for @p event, and the directory around it, by two commands that the calling
 * thread waits for. Returns its path, also if it could not be made; an error line then says so. A
 * null event gives the text "KavelEventIsNullPtr" and makes nothing. Any thread.
 */
std::string buildLogPathFolderName(EventParameters& parameters, const KavelEvent* event);

}  // namespace android::kavel
