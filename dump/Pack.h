#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "dump/LogFolder.h"
#include "event/KavelEvent.h"

namespace android::kavel {

/** Maximum time that a pack waits for running commands after its required waits. */
inline constexpr std::chrono::milliseconds kLateWorkPatience = std::chrono::seconds(15);

/** Logs @p prefix + @p command + @p suffix through the masking helper, then runs the command. */
int logAndRun(const char* prefix, const std::string& command, const char* suffix = "");
/**
 * Does the same for a command that puts files into the log folder @p path. If the command is cut
 * short, a line and the journal say which reports lack a log.
 */
int collectInto(const std::string& path, const char* prefix, const std::string& command,
                const char* suffix = "");
/** Does the same and logs a warning if the command fails. */
int collectAndCheck(const std::string& path, const char* prefix, const std::string& command);

/** Whether all log-selection bits of @p record are confirmed, and no others. */
bool verifyLogIntegrity(const KavelEvent& record);
/** Waits until they are, for at most 15 s: a longer wait would risk the other logs. */
void awaitCollected(const KavelEvent& record);

/** How a folder is packed. */
struct PackJob {
    const char* prefix;        ///< start of the log lines
    std::string subject;       ///< name in error lines: the event, or another text
    bool keepsFolder = false;  ///< if tar fails, the folder stays for the next start
};

/** Whether @p folder has or will have something to pack. If not, logs one error line. */
bool canPack(const PackJob& job, const LogFolder& folder);

/**
 * Closes @p folder when its work has ended, at the latest after @p patience. One line names what is
 * missing: work that has not ended, and log-selection bits of @p record that are not confirmed.
 * Returns the rest of @p patience, or nullopt if the folder was closed already.
 */
std::optional<std::chrono::milliseconds> closeFolder(const char* prefix, const KavelEvent& record,
                                                     LogFolder& folder,
                                                     std::chrono::milliseconds patience);

/**
 * Packs @p folder into an archive in the collection directory and removes it. Nothing may write
 * into it any more. Never replaces an archive. If tar makes no archive, the folder stays for the
 * next start; if the archive cannot be moved, the archive stays.
 *
 * @return whether the folder was packed
 */
bool packFolder(const PackJob& job, const LogFolder& folder);

/** Prefix of the names of folders that are being removed. */
inline constexpr const char* kRemainsPrefix = ".removed-";

/** Removes the folder @p path, even if commands still write into it. */
void removeFolder(const char* prefix, const std::string& path);

}  // namespace android::kavel
