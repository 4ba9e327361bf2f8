#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dump/LogFolderName.h"

namespace android::kavel::tools {

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
    std::string process;  ///< empty if the daemon did not know it
};

/**
 * Splits EVENT_PROCESS. Both may contain "_", so if the history line of the event that opened the
 * folder matches the name, its event name is used. Otherwise splits at the last "_" before the
 * first dot, because names of apps have dots, or at the last "_".
 */
Subject splitSubject(const LogName& name, const std::vector<HistoryLine>& history);

}  // namespace android::kavel::tools
