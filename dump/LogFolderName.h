#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace android::kavel {

/** Where the log folders of running catches stand. */
inline constexpr const char* kLogFolderRoot = "/data/persist_log/kavel30";
/** Where a service of the device stages the messaging app's logs for the pack. */
inline constexpr const char* kXlogStaging = "/data/persist_log/kavel30/wxlog";
/** The collection directory, which takes the finished archives. */
inline constexpr const char* kArchiveDirectory = "/data/persist_log/PLX/de/kavel";
inline constexpr const char* kArchiveSuffix = ".tar.gz";

/** What a log folder, and later its archive, is named after. */
struct LogFolderParts {
    std::string eventName;
    std::string process;
    int64_t realtimeNs;
    std::string otaVersion;
    std::string timeText;
};

/** The highest sequence number that the name of an archive has room for. */
inline constexpr uint32_t kMaxArchiveSequence = 999;

/**
 * kavel_EVENT_PROCESS@ID@OTA@TIME, without a directory. "/" and control characters in the event
 * name, the process and the OTA version become "_". If the name of the archive would be longer than
 * a file name can be, even with a sequence number, the parts are cut, the process first.
 */
std::string logFolderName(const LogFolderParts& parts);

/**
 * The file name of archive number @p sequence of a folder: NAME.tar.gz for 1, then NAME.2.tar.gz,
 * NAME.3.tar.gz and so on up to kMaxArchiveSequence.
 */
std::string archiveName(std::string_view folderName, uint32_t sequence);

/** What the name of a log folder or of an archive says. */
struct LogName {
    std::string folder;    ///< the folder's whole name
    std::string subject;   ///< EVENT_PROCESS: both may hold "_", so the name alone cannot part them
    std::string folderId;  ///< 16 hexadecimal digits
    std::string otaVersion;  ///< empty if the phone has none
    std::string timeText;    ///< YYYY-MM-DD-HH-MM-SS-mmm, the phone's local time
    uint32_t sequence = 1;   ///< number of the archive; 1 for a folder
};

/** Reads a name that logFolderName() makes; nullopt for any other. Linear time, for any text. */
std::optional<LogName> parseLogFolderName(std::string_view name);

/** Reads a name that archiveName() makes, without a directory; nullopt for any other. */
std::optional<LogName> parseArchiveName(std::string_view fileName);

/** Whether @p name, without a directory, is one that logFolderName() makes. */
bool isLogFolderName(std::string_view name);

/** False for an empty path and for the root: no command may ever work on those. */
bool isUsableFolder(std::string_view path);

}  // namespace android::kavel
