#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "desk/parse/Time.h"

namespace kaveldesk {

/** One event of an archive, from the events file or the history. */
struct ReportedEvent {
    uint32_t line = 0;
    std::string name;
    Stamp time;  // the history has the phone's local time, the events file UTC
    uint32_t mask = 0;
    // What follows is only in the events file.
    std::optional<int32_t> utcOffsetSeconds;
    long eventId = 0;
    int32_t pid = 0;
    int32_t uid = 0;
    std::string process;
    std::string version;
    std::string type;
};

/** The events of kavel_events.txt in their order. Lines that are not events are left out. */
std::vector<ReportedEvent> parseEventsFile(std::string_view text);

/** The events of kavel_history.txt in their order. Lines that are not events are left out. */
std::vector<ReportedEvent> parseHistory(std::string_view text);

/** What extraInfo.txt says; empty texts for what is missing. */
struct ExtraInfoTexts {
    std::string process;
    std::string version;
    std::string type;
};
ExtraInfoTexts parseExtraInfo(std::string_view text);

}  // namespace kaveldesk
