#pragma once

#include <cstdint>
#include <string>

namespace android {

/** Copies the staged logs of the messaging app into @p path and deletes the staged files. */
void packXlogForWeChat(const std::string& path);

/**
 * Returns the total size in bytes of the regular files directly in @p path; 0 if the folder does
 * not exist.
 */
int64_t totalXlogSize(const std::string& path);

/** Whether @p path is a directory or a link to one. If not, logs why. */
bool checkPathIsDir(const std::string& path);

}  // namespace android
