#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace android::kavel::tools {

/** The user's values for a report's extra text. */
struct ExtraFields {
    std::optional<std::string> process;
    std::optional<std::string> version;
    std::optional<std::string> type;
};

struct ExtraText {
    std::string text;
    std::string note;  ///< the parts that the daemon ignores; empty if there are none
};

/**
 * Returns the extra text from which the daemon reads exactly @p fields for an event of type @p
 * eventId.
 *
 * @throws UsageError if a required field is missing, the event type does not have a given field, or
 *         a value contains a key so that the daemon would split the text at another place
 */
ExtraText buildExtraText(int64_t eventId, const ExtraFields& fields);

/** Returns @p text unchanged, with a note if the daemon ignores it. */
ExtraText wholeExtraText(int64_t eventId, const std::string& text);

}  // namespace android::kavel::tools
