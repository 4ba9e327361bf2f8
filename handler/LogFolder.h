#pragma once

#include <string>

#include "event/EventParameters.h"
#include "event/KavelEvent.h"

namespace android::kavel {

/**
 * The path of a new log folder for @p event. It and the directory it stands in are made on the way,
 * by two commands that the calling thread waits for; where that fails the path comes back all the
 * same. A null event gives the text "KavelEventIsNullPtr" and makes nothing. Any thread.
 */
std::string buildLogPathFolderName(EventParameters& parameters, const KavelEvent* event);

}  // namespace android::kavel
