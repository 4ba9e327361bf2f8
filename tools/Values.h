#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace android::kavel::tools {

/**
 * Parses the whole text as an integer, decimal or 0x, with or without a minus. Returns nullopt if
 * it is not one.
 */
std::optional<int64_t> parseInteger(std::string_view text);

/** @throws UsageError, with @p what, if @p text is not an integer from @p min to @p max */
int64_t integerInRange(std::string_view what, std::string_view text, int64_t min, int64_t max);

/**
 * Returns the id that @p text says: a number, or the name of a row in the table of event types, in
 * upper or lower case, with or without a KAVEL_EVENT_ prefix. Returns nullopt for any other text.
 */
std::optional<int64_t> findEventId(std::string_view text);

/** The same. @throws UsageError for any other text, with a suggestion */
int64_t parseEventId(std::string_view text);

/**
 * Parses a log-info mask: numbers and names of log bits, joined by "," or "|". Names may be in
 * upper or lower case, with or without their KAVEL_LOGINFO_ prefix.
 *
 * @return the mask; the caller must check its range
 * @throws UsageError for a word that is neither a number nor a name
 */
int64_t parseMask(std::string_view text);

/**
 * Parses the mask of a report: an int32, because the daemon aborts on larger values. @throws
 * UsageError
 */
int32_t parseReportMask(std::string_view text);

/** Parses a mask to explain: 32 bits, signed (as in the log) or unsigned. */
uint32_t parseExplainMask(std::string_view text);

/** Whether @p bit is a defined log bit. */
bool isLogBit(uint32_t bit);

/** Returns the name of a log bit, or "unknown". */
std::string_view logBitName(uint32_t bit);

/** Returns the names of all bits of @p mask, joined by ", "; "none" for 0. */
std::string logBitNames(uint32_t mask);

}  // namespace android::kavel::tools
