#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dump/LogFolderName.h"

namespace android::kavel::tools {

/** Returns the time of @p name in ISO 8601 form, with @p separator between date and time. */
std::string readableTime(const LogName& name, char separator);

/** One line of an archive's kavel_history.txt. */
struct HistoryLine {
    std::string eventName;
    std::string time;
    uint32_t logInfo;
    int64_t recordId;
};

/** Parses EventType:NAME,Timestamp:T,loginfo:HEX,eventID:N. Returns nullopt for any other text. */
std::optional<HistoryLine> parseHistoryLine(std::string_view line);

/** Returns all history lines of @p text; ignores other lines. */
std::vector<HistoryLine> parseHistory(std::string_view text);

struct Subject {
    std::string event;
    std::string process;
};

/**
 * Splits EVENT_PROCESS. Event names may contain "_", so if the history line of the event that
 * opened the folder matches the name, its event name is used. Otherwise splits at the first "_".
 */
Subject splitSubject(const LogName& name, const std::vector<HistoryLine>& history);

}  // namespace android::kavel::tools
