#pragma once

#include <json/value.h>

#include <ostream>
#include <string>

#include "tools/Collection.h"

namespace android::kavel::tools {

/** What list and show say of one archive in JSON. */
Json::Value archiveSummary(const Archive& archive);

/** archiveSummary(), with what show adds: history, extra info and files. */
Json::Value archiveDetails(const Archive& archive);

/** The processes of the archive's events, the first ones by name: "com.a, com.b and 2 more". */
std::string processesText(const Archive& archive);

/** What archiveDetails() has, for people. */
void printArchive(std::ostream& out, const Archive& archive);

}  // namespace android::kavel::tools
