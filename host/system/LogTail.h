#pragma once

#include <android-base/unique_fd.h>

#include <string>
#include <vector>

namespace android::kavel::host {

/**
 * Reads a log file and the generation before it, oldest line first, and again later what has come
 * since; follows the file when it is turned over or emptied. Not thread-safe.
 */
class LogTail {
  public:
    explicit LogTail(std::string path) : mPath(std::move(path)) {}

    /** The whole lines since the last call, without their newlines. */
    std::vector<std::string> readNew();

  private:
    struct Generation {
        base::unique_fd fd;
        off_t offset = 0;
        std::string unfinished;
    };

    static void drain(Generation* generation, std::vector<std::string>* lines);

    const std::string mPath;
    Generation mOlder;
    Generation mCurrent;
};

}  // namespace android::kavel::host
