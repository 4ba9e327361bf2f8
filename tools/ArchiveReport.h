#pragma once

#include <json/value.h>

#include <ostream>
#include <string>
#include <vector>

#include "tools/Collection.h"

namespace android::kavel::tools {

/** Returns the JSON object that list and show print for one archive. */
Json::Value archiveSummary(const Archive& archive);

/** Returns archiveSummary() with the additions of show: history, extra info and files. */
Json::Value archiveDetails(const Archive& archive);

/** Returns the process names of the archive and its events, each once. */
std::vector<std::string> processNames(const Archive& archive);

/** Returns the first of processNames(): "com.a, com.b and 2 more"; "-" if there is none. */
std::string processesText(const Archive& archive);

/** Prints the contents of archiveDetails() as text. */
void printArchive(std::ostream& out, const Archive& archive);

}  // namespace android::kavel::tools
