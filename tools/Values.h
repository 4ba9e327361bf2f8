#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace android::kavel::tools {

/** The integer that the whole text writes, decimal or 0x, with or without a minus; else nothing. */
std::optional<int64_t> parseInteger(std::string_view text);

/** @throws UsageError naming @p what where @p text is not an integer from @p min to @p max */
int64_t integerInRange(std::string_view what, std::string_view text, int64_t min, int64_t max);

/** An event type id: any int64. @throws UsageError */
int64_t parseEventId(std::string_view text);

/**
 * A log-info mask: numbers and names of log bits, joined by "," or "|". Names are taken in either
 * case, with or without their KAVEL_LOGINFO_ prefix.
 *
 * @return the mask, not yet checked for the width that its use allows
 * @throws UsageError for a word that is neither a number nor a name
 */
int64_t parseMask(std::string_view text);

/** The mask of a report: int32, because the daemon aborts on anything wider. @throws UsageError */
int32_t parseReportMask(std::string_view text);

/** A mask to explain: 32 bits, written signed (as the log prints it) or unsigned. */
uint32_t parseExplainMask(std::string_view text);

/** Whether @p bit has a meaning. */
bool isLogBit(uint32_t bit);

/** Name of a log bit, or "unknown". */
std::string_view logBitName(uint32_t bit);

/** Names of all bits of @p mask, joined by ", "; "none" for 0. */
std::string logBitNames(uint32_t mask);

}  // namespace android::kavel::tools
