#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace android::kavel {

// The texts inside kernel packets: text in, value out. The callback does the logging and the rest.

/** Longest key or value of a token, in characters. A longer one is malformed. */
inline constexpr size_t kMaxTokenPart = 511;

/** The text of a payload between "logmap{" and the first "}", or the end; nullopt if the payload is
 * no statistic. */
std::optional<std::string> extractLogmap(const std::string& payload);

/** A statistic of the kernel, as it is uploaded. */
struct PlxMsg {
    std::string tag;
    std::string eventId;
    std::vector<std::pair<std::string, std::string>> data;  ///< in their order, duplicates kept
};

/**
 * Appends the key:value tokens of @p logmap, separated by ";", to the data of @p msg.
 *
 * @return the token that is no pair, at which parsing ended; nullopt if there is none
 */
std::optional<std::string> parseLogmap(const std::string& logmap, PlxMsg* msg);

/** The value of the first pair with @p key, or null. */
const std::string* findValue(const PlxMsg& msg, std::string_view key);

/** Whether the statistic is a power-key record of a screen monitor: only those may ask for a dump.
 */
bool isScreenMonitor(const PlxMsg& msg);

/** Whether the statistic asks for a system dump: some pair says catchlog:true. */
bool asksForDump(const PlxMsg& msg);

/** What one token of an event's text turned out to be. */
struct EventToken {
    std::string text;
    int conversions;  ///< as sscanf("%s %s") counts them: -1 for a blank token
    std::string key;
    std::string value;
    bool isKnown;  ///< the key is one of the four
    bool isBad;    ///< parsing ended here, and the event counts for nothing
};

/** An event's text, token by token, and the fields where no token was bad. */
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
