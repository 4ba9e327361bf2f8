#pragma once

#include <json/value.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace android::kavel::tools {

bool isUtf8(std::string_view text);

/**
 * @p text safe for a terminal: control characters and bytes that are not UTF-8 become "\xNN".
 * Everything else stays, so a name reads as it is.
 */
std::string printable(std::string_view text);

/** "0x1f": lower case, no padding. */
std::string hexText(uint64_t value);

/** A size in bytes for people, such as "999 B", "12.3 KiB" or "4.0 MiB". */
std::string sizeText(uint64_t bytes);

/** Writes one JSON document. Text that is not UTF-8 is replaced, so the document always reads. */
void writeJson(std::ostream& out, const Json::Value& document);
/** The same on one line. */
void writeJsonLine(std::ostream& out, const Json::Value& document);

}  // namespace android::kavel::tools
