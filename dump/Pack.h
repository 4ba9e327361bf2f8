#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "dump/LogFolder.h"
#include "event/KavelEvent.h"

namespace android::kavel {

/** Time that a pack gives to the commands that still run after its required waits. */
inline constexpr std::chrono::milliseconds kLateWorkPatience = std::chrono::seconds(15);

/** Logs @p prefix + @p command + @p suffix through the masking helper, then runs the command. */
int logAndRun(const char* prefix, const std::string& command, const char* suffix = "");
/** The same, with a warning if the command fails. */
void logRunAndCheck(const char* prefix, const std::string& command, const char* suffix = "");

/** Whether every log that @p record selects has been reported as taken. */
bool verifyLogIntegrity(const KavelEvent& record);
/** Waits for that, fifteen seconds at most: late logs must not cost the early ones. */
void awaitCollected(const KavelEvent& record);

/** What is to be packed. */
struct PackJob {
    const char* prefix;        ///< of the log lines
    std::string subject;       ///< what error lines call it: the event, or what it is instead
    bool keepsFolder = false;  ///< leaves the folder for the next start if tar fails
};

/** Whether there is or will be something to pack in @p folder; if not, one error line says so. */
bool canPack(const PackJob& job, const LogFolder& folder);

/**
 * Closes @p folder after a wait of up to @p patience for the work in it. One line names what the
 * archive goes without: work that has not ended, and log-selection bits of @p record that no
 * command has reported. Returns what is left of @p patience, or nullopt if the folder was closed
 * already.
 */
std::optional<std::chrono::milliseconds> closeFolder(const char* prefix, const KavelEvent& record,
                                                     LogFolder& folder,
                                                     std::chrono::milliseconds patience);

/**
 * Packs @p folder, in which nothing is written any more, into an archive in the collection
 * directory and removes it. An archive that is there is never replaced. If no archive can be made,
 * the folder stays for the next start; if the archive cannot be moved, it does.
 *
 * @return whether the folder was packed
 */
bool packFolder(const PackJob& job, const LogFolder& folder);

/** How the name of a folder begins that is out of the way and being removed. */
inline constexpr const char* kRemainsPrefix = ".removed-";

/** Removes the folder at @p path for good, however long others write into it. */
void removeFolder(const char* prefix, const std::string& path);

}  // namespace android::kavel
