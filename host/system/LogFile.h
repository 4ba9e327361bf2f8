#pragma once

#include <android-base/unique_fd.h>
#include <sys/types.h>

#include <atomic>
#include <string>
#include <string_view>

namespace android::kavel::host {

/**
 * A file to which any number of processes and threads append whole lines. A file that has reached
 * the limit is renamed to "NAME.1", which replaces an earlier one, and a new file is created. No
 * line is lost, and no writer waits for another. All writers must be able to rename in its folder.
 */
class LogFile {
  public:
    /** @param mode  of a new file, regardless of the umask; with 0666 every user can append */
    LogFile(std::string path, off_t limit, mode_t mode = 0666)
          : mPath(std::move(path)), mLimit(limit), mMode(mode) {}
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    /** Returns false if the file cannot be opened or written. Any thread. */
    bool append(std::string_view lines);

  private:
    base::unique_fd openFile() const;
    int open();
    void rotate(int fd);

    const std::string mPath;
    const off_t mLimit;
    const mode_t mMode;
    /**
     * Opened once. After a rotation the same number refers to the new file, so a thread that is
     * about to write never uses the number of an unrelated file.
     */
    std::atomic<int> mFd{-1};
};

}  // namespace android::kavel::host
