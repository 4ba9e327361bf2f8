#pragma once

#include <chrono>
#include <string>

namespace android::kavel {

/**
 * Name of the file that marks a log folder as waiting for hang files. If the daemon ends during the
 * wait, its next start finds the mark and waits again.
 */
inline constexpr const char* kHangWarningMarker = ".hang_warning";

/** Time that the multimedia tooling needs to write its files. */
inline constexpr std::chrono::seconds kHangFilesTime = std::chrono::minutes(5);

/**
 * Waits five minutes for the multimedia tooling, then copies its hang files into @p folder.
 *
 * @return whether there were any
 */
bool copyNwatchcallLog(const std::string& folder);

/**
 * Packs @p folder if hang files were @p found; removes it otherwise.
 *
 * @param subject  name of the hang warning in error lines
 */
void packNwatchcallLog(bool found, const std::string& folder, const std::string& subject);

}  // namespace android::kavel
