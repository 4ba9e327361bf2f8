#pragma once

#include <string>

#include "event/EventParameters.h"
#include "event/KavelEvent.h"

namespace android::kavel {

/**
 * The path of a new log folder for @p event, made on return together with the directory it stands
 * in. A null event gives the text "KavelEventIsNullPtr" and makes nothing.
 */
std::string buildLogPathFolderName(EventParameters& parameters, const KavelEvent* event);

}  // namespace android::kavel
