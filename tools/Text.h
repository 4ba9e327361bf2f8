#pragma once

#include <json/value.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace android::kavel::tools {

bool isUtf8(std::string_view text);

/**
 * Returns @p text in a form that is safe for a terminal: control characters and bytes that are not
 * UTF-8 become "\xNN". All other characters are unchanged.
 */
std::string printable(std::string_view text);

/** Returns a text like "0x1f": lower case, no padding. */
std::string hexText(uint64_t value);

/** Returns a size as a readable text, such as "999 B", "12.3 KiB" or "4.0 MiB". */
std::string sizeText(uint64_t bytes);

/** Prints a table of equally long columns, each as wide as its longest cell. */
void printTable(std::ostream& out, const std::vector<std::vector<std::string>>& columns);

/**
 * Writes one JSON document. Replaces text that is not UTF-8, so that the document is always valid.
 */
void writeJson(std::ostream& out, const Json::Value& document);
/** Writes one JSON document on one line; otherwise like writeJson(). */
void writeJsonLine(std::ostream& out, const Json::Value& document);

}  // namespace android::kavel::tools
