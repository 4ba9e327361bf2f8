#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace android::kavel {

/** The staging directory, which has the log folders of running catches. */
inline constexpr const char* kLogFolderRoot = "/data/persist_log/kavel30";
/** Folder into which a service of the device copies the messaging app's logs for the pack. */
inline constexpr const char* kXlogStaging = "/data/persist_log/kavel30/wxlog";
/** The collection directory, which has the finished archives. */
inline constexpr const char* kArchiveDirectory = "/data/persist_log/PLX/de/kavel";
inline constexpr const char* kArchiveSuffix = ".tar.gz";

/**
 * A folder id is this plus the wall clock in nanoseconds, modulo 2^64. The top five bytes are the
 * letters of "kavel".
 */
inline constexpr uint64_t kFolderIdBase = 0x6B6176656C000000;

/** Values from which the name of a log folder and its archive is made. */
struct LogFolderParts {
    std::string eventName;
    std::string process;
    int64_t realtimeNs;
    std::string otaVersion;
    std::string timeText;
};

/** Maximum sequence number in the name of an archive. */
inline constexpr uint32_t kMaxArchiveSequence = 999;

/**
 * Returns kavel_EVENT_PROCESS@ID@OTA@TIME, without a directory. "/" and control characters in the
 * event name, the process and the OTA version become "_". If the name of the archive, with a
 * sequence number, would be too long for a file name, the parts are cut, the process first.
 */
std::string logFolderName(const LogFolderParts& parts);

/**
 * Returns the file name of archive number @p sequence of a folder: NAME.tar.gz for 1, then
 * NAME.2.tar.gz, NAME.3.tar.gz and so on up to kMaxArchiveSequence.
 */
std::string archiveName(std::string_view folderName, uint32_t sequence);

/** The parts of the name of a log folder or of an archive. */
struct LogName {
    std::string folder;      ///< the folder's whole name
    std::string subject;     ///< EVENT_PROCESS; both may contain "_", so it cannot be split
    std::string folderId;    ///< 16 hexadecimal digits
    std::string otaVersion;  ///< empty if the phone has none
    std::string timeText;    ///< YYYY-MM-DD-HH-MM-SS-mmm, the phone's local time
    uint32_t sequence = 1;   ///< number of the archive; 1 for a folder
};

/** Parses a name from logFolderName(), in linear time. Returns nullopt for any other text. */
std::optional<LogName> parseLogFolderName(std::string_view name);

/** Parses a name from archiveName(), without a directory. Returns nullopt for any other text. */
std::optional<LogName> parseArchiveName(std::string_view fileName);

/** Returns the wall clock, in nanoseconds since 1970 (UTC), that the folder id of @p name has. */
int64_t folderIdTimeNs(const LogName& name);

/** Whether @p name, without a directory, is a name from logFolderName(). */
bool isLogFolderName(std::string_view name);

/** Whether commands may work on @p path: false for an empty path and for the root. */
bool isUsableFolder(std::string_view path);

}  // namespace android::kavel
