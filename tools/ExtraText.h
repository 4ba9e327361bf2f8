#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace android::kavel::tools {

/** What the user gave to be put into a report's extra text. */
struct ExtraFields {
    std::optional<std::string> process;
    std::optional<std::string> version;
    std::optional<std::string> type;
};

struct ExtraText {
    std::string text;
    std::string note;  ///< what the daemon will not keep of it; empty where it keeps all
};

/**
 * The extra text from which the daemon reads exactly @p fields for an event of type @p eventId.
 *
 * @throws UsageError where the event type needs a field that is missing, has no place for one that
 *         is given, or a value holds a key so that the daemon would part the text elsewhere
 */
ExtraText buildExtraText(int64_t eventId, const ExtraFields& fields);

/** @p text as it stands, with the note where the daemon drops it. */
ExtraText wholeExtraText(int64_t eventId, const std::string& text);

}  // namespace android::kavel::tools
