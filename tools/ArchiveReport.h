#pragma once

#include <json/value.h>

#include <ostream>
#include <string>

#include "tools/Collection.h"

namespace android::kavel::tools {

/** Returns the JSON object that list and show print for one archive. */
Json::Value archiveSummary(const Archive& archive);

/** Returns archiveSummary() with the additions of show: history, extra info and files. */
Json::Value archiveDetails(const Archive& archive);

/** Returns the first process names of the archive's events: "com.a, com.b and 2 more". */
std::string processesText(const Archive& archive);

/** Prints the contents of archiveDetails() as text. */
void printArchive(std::ostream& out, const Archive& archive);

}  // namespace android::kavel::tools
