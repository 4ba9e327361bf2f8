#pragma once

#include <optional>
#include <string>

#include "desk/index/FindArchives.h"
#include "desk/store/Rows.h"

namespace kaveldesk {

/** A file on its way: first only its hash is found, then it is read if the hash is new. */
struct ReadJob {
    FoundFile file;
    std::string hash;  // empty: find it
};

struct ReadResult {
    FoundFile file;
    std::string hash;
    std::optional<CatchRow> row;  // if the job had a hash
    std::string failure;          // why it could not be done; empty if it is
};

/** Does @p job, in any thread. A broken archive is a row. Does not throw. */
ReadResult doJob(ReadJob job);

}  // namespace kaveldesk
