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

/** Whether there is something to pack in @p folder; if not, one error line says so. */
bool canPack(const PackJob& job, const LogFolder& folder);

/**
 * Waits for the work in @p folder for up to @p patience and closes it. A line names the work that
 * has not ended. Returns what is left of @p patience; nothing if the folder was closed already.
 */
std::optional<std::chrono::milliseconds> closeFolder(const PackJob& job, LogFolder& folder,
                                                     std::chrono::milliseconds patience);

/**
 * Closes @p folder as closeFolder() does, packs it into an archive in the
 * collection directory and removes it. An archive that is there is never replaced. If the archive
 * cannot even be begun, the folder stays for the next start; if it cannot be moved, the archive
 * does.
 *
 * @return whether the folder was packed
 */
bool packFolder(const PackJob& job, LogFolder& folder,
                std::chrono::milliseconds patience = kLateWorkPatience);

/** How the name of a folder begins that removeFolder() moves out of the way. */
inline constexpr const char* kRemainsPrefix = ".removed-";

/** Removes the folder at @p path for good, however long others write into it. */
void removeFolder(const char* prefix, const std::string& path);

}  // namespace android::kavel
