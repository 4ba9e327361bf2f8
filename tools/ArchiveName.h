#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dump/LogFolderName.h"

namespace android::kavel::tools {

/** The time of @p name as people and ISO 8601 write it, @p separator between day and hour. */
std::string readableTime(const LogName& name, char separator);

/** One line of an archive's kavel_history.txt. */
struct HistoryLine {
    std::string eventName;
    std::string time;
    uint32_t logInfo;
    int64_t recordId;
};

/** Reads EventType:NAME,Timestamp:T,loginfo:HEX,eventID:N; nullopt if it is none. */
std::optional<HistoryLine> parseHistoryLine(std::string_view line);

/** All lines of @p text that read as history lines. */
std::vector<HistoryLine> parseHistory(std::string_view text);

struct Subject {
    std::string event;
    std::string process;
};

/**
 * Parts EVENT_PROCESS. Event names may hold "_", so the history line of the event that opened the
 * folder decides where one agrees with the name; else the first "_" does.
 */
Subject splitSubject(const LogName& name, const std::vector<HistoryLine>& history);

}  // namespace android::kavel::tools
