#pragma once

#include <cstdint>
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

/**
 * kavel_EVENT_PROCESS@ID@OTA@TIME, without a directory. "/" and control characters in the event
 * name, the process and the OTA version become "_", and where the archive's name would be longer
 * than a file name can be they are cut, the process first: no catch is lost to its own name.
 */
std::string logFolderName(const LogFolderParts& parts);

/**
 * Name of the archive of a folder of that name. @p sequence tells archives of one folder apart: 1 for
 * the first, which has no number in its name.
 */
std::string archiveName(std::string_view folderName, int sequence);

/** Whether @p name, without a directory, is one that logFolderName() makes. */
bool isLogFolderName(std::string_view name);

/** False for an empty path and for the root: no command may ever work on those. */
bool isUsableFolder(std::string_view path);

}  // namespace android::kavel
