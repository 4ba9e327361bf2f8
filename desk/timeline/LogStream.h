#pragma once

#include <cstdint>
#include <vector>

#include "desk/model/Evidence.h"
#include "desk/model/Timeline.h"

namespace kaveldesk {

/** Bound for hostile texts. The largest archive of ordinary logs has a third of it. */
inline constexpr size_t kMaxRecords = 3'000'000;

/**
 * Appends a record for each line of log @p file that is not empty, in the order of the file. Lines
 * without a time have that of the line before them, or else of the first one with a time. Times
 * are UTC; those of the kernel log are still on the kernel's own clock. After @p room records, the
 * rest of the file is one more.
 */
void appendLog(const Evidence& evidence, uint32_t file, size_t room, std::vector<Record>& records,
               std::vector<Problem>& problems);

}  // namespace kaveldesk
