#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace android::kavel {

// Parsers for the texts in kernel packets. They do not log and have no side effects.

/** Maximum number of characters of a token's key or value. A longer one is malformed. */
inline constexpr size_t kMaxTokenPart = 511;

/**
 * Returns the text between "logmap{" and the first "}", or the end of the payload. Returns nullopt
 * if the payload is not a statistic.
 */
std::optional<std::string> extractLogmap(const std::string& payload);

/** A statistic of the kernel, in the form in which it is uploaded. */
struct PlxMsg {
    std::string tag;
    std::string eventId;
    std::vector<std::pair<std::string, std::string>> data;  ///< in order, duplicates included
};

/**
 * Appends the key:value tokens of @p logmap, separated by ";", to the data of @p msg.
 *
 * @return the first token that is not a pair, where parsing ended; nullopt if there is none
 */
std::optional<std::string> parseLogmap(const std::string& logmap, PlxMsg* msg);

/** Returns the value of the first pair with @p key, or null. */
const std::string* findValue(const PlxMsg& msg, std::string_view key);

/**
 * Whether the statistic is a power-key record of a screen monitor. Only these may ask for a dump.
 */
bool isScreenMonitor(const PlxMsg& msg);

/** Whether the statistic asks for a system dump: one of its pairs is catchlog:true. */
bool asksForDump(const PlxMsg& msg);

/** One token of an event's text, parsed. */
struct EventToken {
    std::string text;
    int conversions;  ///< return value of sscanf("%s %s"): -1 for a blank token
    std::string key;
    std::string value;
    bool isKnown;  ///< the key is one of the four known keys
    bool isBad;    ///< parsing stopped here, and the event is dropped
};

/** The text of an event: its tokens, and its fields if no token is bad. */
struct EventText {
    std::vector<EventToken> tokens;
    bool isBad = false;
    long eventId = 0;
    int32_t logInfo = 0;
    int32_t pid = 0;
    std::string extraInfo;
};

/** Parses "key: value" tokens separated by "."; "extrainfo:" ends the text. */
EventText parseEventText(const std::string& message);

}  // namespace android::kavel
