#pragma once

#include <json/value.h>

#include <ostream>

#include "tools/Collection.h"

namespace android::kavel::tools {

/** What list and show say of one archive in JSON. */
Json::Value archiveSummary(const Archive& archive);

/** archiveSummary(), with what show adds: history, extra info and files. */
Json::Value archiveDetails(const Archive& archive);

/** The same for people. */
void printArchive(std::ostream& out, const Archive& archive);

}  // namespace android::kavel::tools
