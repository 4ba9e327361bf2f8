#pragma once

#include <string>

namespace android::kavel {

/**
 * File of a log folder that waits for hang files. After a crash of the daemon it tells the next
 * start to wait again.
 */
inline constexpr const char* kHangWarningMarker = ".hang_warning";

/**
 * Waits five minutes for the multimedia tooling, then copies its hang files into @p folder.
 *
 * @return whether there was any
 */
bool copyNwatchcallLog(const std::string& folder);

/**
 * Packs @p folder if something was @p found, else removes it.
 *
 * @param subject  what error lines call the hang warning
 */
void packNwatchcallLog(bool found, const std::string& folder, const std::string& subject);

}  // namespace android::kavel
