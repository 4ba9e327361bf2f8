#pragma once

#include <android-base/unique_fd.h>
#include <sys/types.h>

#include <atomic>
#include <string>
#include <string_view>

namespace android::kavel::host {

/**
 * A file to which any number of processes and threads append whole lines. A file that has reached
 * the limit is renamed to "NAME.1", in place of the one before, and a new one is created. No line
 * is lost, and no writer waits for another. All writers must be able to rename in its folder.
 */
class LogFile {
  public:
    /** @param mode  of a new file, whatever the umask; 0666 lets every user append */
    LogFile(std::string path, off_t limit, mode_t mode = 0666)
          : mPath(std::move(path)), mLimit(limit), mMode(mode) {}
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    /** False if the file cannot be opened or written. Any thread. */
    bool append(std::string_view lines);

  private:
    base::unique_fd openFile() const;
    int open();
    void turnOver(int fd);

    const std::string mPath;
    const off_t mLimit;
    const mode_t mMode;
    /**
     * Opened once. A new file gets the same descriptor number, so a thread that is about to write
     * never uses a number that now belongs to another file.
     */
    std::atomic<int> mFd{-1};
};

}  // namespace android::kavel::host
