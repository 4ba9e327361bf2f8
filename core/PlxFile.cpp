#include "core/PlxFile.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <android-base/file.h>
#include <android-base/unique_fd.h>

#include "platform/Log.h"

namespace android::kavel {
namespace {

/**
 * Returns the last lines of the file, at most kMaxPlxFile / 2 bytes; empty if it cannot be read.
 */
std::string newestLines(int fd, off_t size) {
    std::string text(kMaxPlxFile / 2, '\0');
    const off_t start = size - static_cast<off_t>(text.size());
    if (!base::ReadFullyAtOffset(fd, text.data(), text.size(), start)) return "";
    const size_t lineEnd = text.find('\n');
    if (lineEnd != std::string::npos && lineEnd + 1 < text.size()) text.erase(0, lineEnd + 1);
    return text;
}

bool writeNewFile(const std::string& path, const std::string& text, mode_t mode) {
    unlink(path.c_str());  // left over if an earlier daemon ended before the rename
    const base::unique_fd file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    // Sync before the rename: after a power cut the file must not be empty.
    return file.ok() && fchmod(file.get(), mode) == 0 && base::WriteStringToFd(text, file.get()) &&
           fsync(file.get()) == 0;
}

}  // namespace

void trimPlxFile(const std::string& path) {
    const base::unique_fd file(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat info = {};
    if (!file.ok() || fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode) ||
        info.st_size <= kMaxPlxFile) {
        return;
    }
    const std::string unfinished = path + ".new";
    const std::string text = newestLines(file.get(), info.st_size);
    if (!text.empty() && writeNewFile(unfinished, text, info.st_mode & 0777) &&
        rename(unfinished.c_str(), path.c_str()) == 0) {
        return;
    }
    KAVEL_LOGW(KAVEL_NO_TAG, "[dravo_kavel trimPlxFile]: %s stays as it is, errno %d.\n",
               path.c_str(), errno);
    unlink(unfinished.c_str());
}

}  // namespace android::kavel
