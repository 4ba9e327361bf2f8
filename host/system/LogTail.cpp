#include "host/system/LogTail.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

namespace android::kavel::host {

namespace {

base::unique_fd openFile(const std::string& path) {
    return base::unique_fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

bool isSameFile(const base::unique_fd& one, const base::unique_fd& other) {
    struct stat first {};
    struct stat second {};
    return one.ok() && other.ok() && fstat(one.get(), &first) == 0 &&
           fstat(other.get(), &second) == 0 && first.st_ino == second.st_ino &&
           first.st_dev == second.st_dev;
}

}  // namespace

std::vector<std::string> LogTail::readNew() {
    std::vector<std::string> lines;
    while (true) {
        drain(&mOlder, &lines);  // a writer's last line may reach it after it was turned over
        drain(&mCurrent, &lines);
        base::unique_fd current = openFile(mPath);
        if (!current.ok() || isSameFile(current, mCurrent.fd)) return lines;
        base::unique_fd older = openFile(mPath + ".1");
        if (isSameFile(older, current)) continue;  // turned over between the two
        mOlder = isSameFile(older, mCurrent.fd) ? std::move(mCurrent)
                                                : Generation{std::move(older), 0, {}};
        mCurrent = {std::move(current), 0, {}};
    }
}

void LogTail::drain(Generation* generation, std::vector<std::string>* lines) {
    if (!generation->fd.ok()) return;
    struct stat info {};
    if (fstat(generation->fd.get(), &info) == 0 && info.st_size < generation->offset) {
        generation->offset = 0;
        generation->unfinished.clear();
    }
    std::array<char, size_t{64} * 1024> chunk;
    while (true) {
        const ssize_t count =
                pread(generation->fd.get(), chunk.data(), chunk.size(), generation->offset);
        if (count <= 0) return;
        generation->offset += count;
        std::string_view text(chunk.data(), static_cast<size_t>(count));
        for (size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
            lines->push_back(std::move(generation->unfinished.append(text.substr(0, end))));
            generation->unfinished.clear();
            text.remove_prefix(end + 1);
        }
        generation->unfinished.append(text);
    }
}

}  // namespace android::kavel::host
