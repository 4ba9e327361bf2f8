#pragma once

#include <chrono>
#include <cstdint>
#include <string_view>

namespace android::kavel::tools {

/** Parses a number with a unit: s, m, h, d or w; 50 years at most. @throws UsageError */
std::chrono::seconds parseDuration(std::string_view what, std::string_view text);

/** Parses a number of bytes, or of K, M, G or T (powers of 1024). @throws UsageError */
uint64_t parseSize(std::string_view what, std::string_view text);

/**
 * Parses an age or a date with optional time and offset, as the help of "list" says.
 *
 * @param nowMs  from which an age counts back, in milliseconds since 1970, UTC
 * @return milliseconds since 1970, UTC
 * @throws UsageError
 */
int64_t parseTime(std::string_view what, std::string_view text, int64_t nowMs);

/** Returns the wall clock in milliseconds since 1970, UTC. */
int64_t wallClockMs();

}  // namespace android::kavel::tools
