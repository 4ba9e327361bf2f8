#pragma once

#include <cstdint>
#include <string>

namespace android {

/** Copies the staged logs of the messaging app into @p path and discards the staging. */
void packXlogForWeChat(const std::string& path);

/** Bytes of the regular files right in @p path; 0 if there is no such folder. */
int64_t totalXlogSize(const std::string& path);

/** Whether @p path is a directory, links followed. If not, a line says why. */
bool checkPathIsDir(const std::string& path);

}  // namespace android
