#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "desk/model/Timeline.h"

namespace kaveldesk {

/**
 * The gzip format of @p bytes as base64 text, which the page can hold as it is: it has no character
 * that means something in HTML. Throws std::bad_alloc if there is no memory for it.
 */
std::string packed(std::string_view bytes);

/**
 * All records as a table of whole numbers: their count, then column by column the time in
 * microseconds, file, begin, length, messageAt, tagAt, tagLength, level, source, pid, tid. Numbers
 * are zigzag varints; times, files, pids and tids are differences to the record before, begins to
 * the end of the record before in the same file. The page's records.js reads this.
 */
std::string recordTable(const Timeline& timeline, size_t files);

}  // namespace kaveldesk
