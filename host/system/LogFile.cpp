#include "host/system/LogFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

namespace android::kavel::host {

namespace {

bool isFileAt(const std::string& path, const struct stat& file) {
    struct stat found {};
    return stat(path.c_str(), &found) == 0 && found.st_ino == file.st_ino &&
           found.st_dev == file.st_dev;
}

}  // namespace

LogFile::~LogFile() {
    const base::unique_fd fd(mFd.load());
}

base::unique_fd LogFile::openFile() const {
    constexpr int kFlags = O_WRONLY | O_APPEND | O_CLOEXEC;
    base::unique_fd fd(::open(mPath.c_str(), kFlags));
    if (fd.ok()) return fd;
    fd.reset(::open(mPath.c_str(), kFlags | O_CREAT, mMode));
    if (fd.ok()) fchmod(fd.get(), mMode);  // fails if another user has just created it
    return fd;
}

int LogFile::open() {
    const int known = mFd.load(std::memory_order_acquire);
    if (known >= 0) return known;
    base::unique_fd fd = openFile();
    int expected = -1;
    if (!fd.ok() || !mFd.compare_exchange_strong(expected, fd.get())) return expected;
    return fd.release();
}

bool LogFile::append(std::string_view lines) {
    const int fd = open();
    if (fd < 0) return false;
    if (write(fd, lines.data(), lines.size()) != static_cast<ssize_t>(lines.size())) return false;
    // Check after the write: another process could remove the file after an earlier check.
    struct stat info {};
    if (fstat(fd, &info) != 0) return false;
    if (info.st_nlink == 0) {
        rotate(fd);
        return write(fd, lines.data(), lines.size()) == static_cast<ssize_t>(lines.size());
    }
    if (info.st_size >= mLimit) rotate(fd);
    return true;
}

void LogFile::rotate(int fd) {
    // Only the holder of the current file's lock may rename it. If another process holds it, that
    // process renames the file.
    base::unique_fd current = openFile();
    struct stat info {};
    if (!current.ok() || fstat(current.get(), &info) != 0) return;
    if (info.st_size >= mLimit) {
        if (flock(current.get(), LOCK_EX | LOCK_NB) != 0) return;
        if (isFileAt(mPath, info) && rename(mPath.c_str(), (mPath + ".1").c_str()) != 0) {
            // This folder does not allow it, so truncate the file to keep to the limit.
            if (ftruncate(current.get(), 0) != 0) return;
        }
        current = openFile();
    }
    if (current.ok()) dup3(current.get(), fd, O_CLOEXEC);
}

}  // namespace android::kavel::host
