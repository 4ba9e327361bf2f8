#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace android::kavel::tools {

/** Parts of an archive's file name, kavel_EVENT_PROCESS@ID@OTA@TIME.tar.gz. */
struct ArchiveName {
    std::string subject;   ///< EVENT_PROCESS: where it parts, the name alone does not tell
    std::string folderId;  ///< 16 hexadecimal digits
    std::string ota;
    std::string time;  ///< YYYY-MM-DD-HH-MM-SS-mmm, the phone's local time

    /** The time as people and ISO 8601 write it, @p separator between day and hour. */
    std::string readableTime(char separator) const;
};

/** The parts of @p fileName (no directory), or nothing where it is not an archive's name. */
std::optional<ArchiveName> parseArchiveName(std::string_view fileName);

/** One line of an archive's kavel_history.txt. */
struct HistoryLine {
    std::string eventName;
    std::string time;
    uint32_t logInfo;
    int64_t recordId;
};

/** Reads EventType:NAME,Timestamp:T,loginfo:HEX,eventID:N; nothing where it is none. */
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
Subject splitSubject(const ArchiveName& name, const std::vector<HistoryLine>& history);

}  // namespace android::kavel::tools
