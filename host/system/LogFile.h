#pragma once

#include <sys/types.h>

#include <atomic>
#include <string>
#include <string_view>

namespace android::kavel::host {

/**
 * A file that any number of processes and threads append whole lines to. Once it has reached its
 * limit it becomes "NAME.1" (the one before is dropped) and a new one begins. No line is lost and
 * no writer waits for another. The folder must be writable for all writers and not sticky.
 */
class LogFile {
  public:
    LogFile(std::string path, off_t limit) : mPath(std::move(path)), mLimit(limit) {}
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    /** False if the file cannot be opened or written. Any thread. */
    bool append(std::string_view lines);

  private:
    int open();
    void turnOver(int fd);

    const std::string mPath;
    const off_t mLimit;
    /**
     * Opened once; turning over replaces the file behind the number, so that a thread which is
     * just about to write never meets a number that has come to mean something else.
     */
    std::atomic<int> mFd{-1};
};

}  // namespace android::kavel::host
