#pragma once

#include <json/value.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace android::kavel::tools {

/** A key of a line of kavel_events.txt. */
struct EventKey {
    const char* name;
    bool isNumber;       ///< the value is an int64; otherwise a text
    const char* column;  ///< title of the table column; null if the table does not show the key
};

/** Keys that each line has, in this order. */
inline constexpr EventKey kEventKeys[] = {
        {"utc", false, nullptr},     {"local", false, "TIME"},      {"recordId", true, "RECORD"},
        {"eventId", false, "EVENT"}, {"name", false, "NAME"},       {"pid", true, "PID"},
        {"uid", true, "UID"},        {"process", false, "PROCESS"}, {"version", false, "VERSION"},
        {"type", false, "TYPE"},     {"mask", false, "MASK"},
};

/** The lines of an archive's kavel_events.txt. */
struct EventLines {
    std::vector<Json::Value> events;     ///< one object for each event, in order of arrival
    std::vector<std::string> malformed;  ///< lines that are not events
};

/**
 * Parses one line. Returns an object with all of kEventKeys and any other keys of @p line; nullopt
 * if a key is missing or has another type.
 */
std::optional<Json::Value> parseEventLine(std::string_view line);

EventLines parseEventLines(std::string_view text);

}  // namespace android::kavel::tools
