#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kaveldesk {

/** Examples for a message. */
inline constexpr const char* kAskedTimes =
        "Times are such as 2026-11-21, '2026-11-21 07:33', 2026-11-21T07:33:31+01:00, 24h or 7d.";

/**
 * Parses the time in a question: a date, a date and a time (UTC without a zone), or "24h" or "7d"
 * before @p nowUtc. In milliseconds since the epoch; nullopt if it is none.
 */
std::optional<int64_t> parseAskedTime(const std::string& text, int64_t nowUtc);

}  // namespace kaveldesk
