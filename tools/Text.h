#pragma once

#include <json/value.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/TerminalText.h"

namespace android::kavel::tools {

bool isUtf8(std::string_view text);

/** Returns a text like "0x1f": lower case, no padding. */
std::string hexText(uint64_t value);

/** Returns a size as a readable text, such as "999 B", "12.3 KiB" or "4.0 MiB". */
std::string sizeText(uint64_t bytes);

/** A column of a table: its title first. */
struct TableColumn {
    std::vector<std::string> cells;
    Align align = Align::Left;
};

/** Prints a table of equally long columns, each as wide as its longest cell. */
void printTable(std::ostream& out, const std::vector<TableColumn>& columns);

/** Returns @p texts as a JSON list. */
Json::Value jsonList(const std::vector<std::string>& texts);

/** Version of the JSON documents. It changes if a key gets another meaning or is removed. */
inline constexpr int kJsonFormat = 1;

/** Returns the object @p document with the key "format", which each document has. */
Json::Value withFormat(Json::Value document);

/**
 * Writes one JSON document, withFormat(). Replaces text that is not UTF-8, so that the document is
 * always valid.
 */
void writeJson(std::ostream& out, const Json::Value& document);
/** Writes @p value on one line. Replaces text like writeJson(). */
void writeJsonLine(std::ostream& out, const Json::Value& value);

}  // namespace android::kavel::tools
