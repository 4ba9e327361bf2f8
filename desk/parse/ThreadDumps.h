#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "desk/model/ThreadDump.h"

namespace kaveldesk {

/**
 * Reads the thread dumps in a text: by ART, by Dalvik, by debuggerd -b, and the waiting channels of
 * the kernel beside them. Any other text is passed over, so a whole bug report will do.
 *
 * Each line of a thread is between the thread's first and last line. @p file is only stored.
 * @p utcOffsetSeconds is that of the phone, for times without a zone.
 *
 * @p room is the number of threads, frames and locks that still have room in memory, and becomes
 * less by those that are read. A dump that does not fit counts as one that is cut off.
 */
std::vector<ThreadDump> parseThreadDumps(std::string_view text, uint32_t file,
                                         int32_t utcOffsetSeconds, size_t& room);

}  // namespace kaveldesk
