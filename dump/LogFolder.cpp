#include "dump/LogFolder.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <android-base/file.h>
#include <android-base/unique_fd.h>

#include "dump/EventLine.h"
#include "dump/LogFolderName.h"

namespace fs = std::filesystem;

namespace android::kavel {

LogFolder::LogFolder(std::string path, Kind kind) : mPath(std::move(path)), mKind(kind) {}

LogFolder::Work LogFolder::beginWork(const std::string& label) {
    std::list<OpenWork>::iterator entry;
    {
        MutexLock lock(mLock);
        if (mIsClosed) return nullptr;
        entry = mWork.insert(mWork.end(), {label, std::chrono::steady_clock::now()});
    }
    // Without the lock, because the end of the work takes it. The work holds the folder, so the
    // list exists until then.
    return {&*entry, [folder = shared_from_this(), entry](void* /*label*/) {
                MutexLock lock(folder->mLock);
                folder->mWork.erase(entry);
                folder->mWorkEnded.notify_all();
            }};
}

std::vector<std::string> LogFolder::openWork() const {
    std::vector<std::string> labels;
    for (OpenWork& one : work()) labels.push_back(std::move(one.label));
    return labels;
}

std::vector<OpenWork> LogFolder::work() const {
    MutexLock lock(mLock);
    return {mWork.begin(), mWork.end()};
}

std::optional<std::chrono::milliseconds> LogFolder::close(std::chrono::milliseconds patience) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + patience;
    MutexLock lock(mLock);
    while (!mWork.empty() && lock.waitUntil(mWorkEnded, end)) {
    }
    if (std::exchange(mIsClosed, true)) return std::nullopt;
    return std::max(std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()),
                    std::chrono::milliseconds(0));
}

bool LogFolder::isClosed() const {
    MutexLock lock(mLock);
    return mIsClosed;
}

bool LogFolder::isOpen() const {
    std::error_code gone;
    return !isClosed() && isUsableFolder(mPath) && fs::is_directory(mPath, gone);
}

bool LogFolder::hasContent() const {
    if (!isUsableFolder(mPath)) return false;
    std::error_code error;
    for (fs::directory_iterator entry(mPath, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().filename().native()[0] != '.') return true;
    }
    return error && error != std::errc::no_such_file_or_directory &&
           error != std::errc::not_a_directory;
}

bool LogFolder::addEventLine(const std::string& line) {
    MutexLock lock(mEventsLock);
    const std::string path = mPath + "/" + kEventsFile;
    const base::unique_fd file(
            open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644));
    struct stat before = {};
    if (!file.ok() || fstat(file.get(), &before) != 0) return false;
    if (base::WriteStringToFd(line, file.get())) return true;
    // On a full disk a part may have been written.
    static_cast<void>(!ftruncate(file.get(), before.st_size));
    return false;
}

bool isDiskFull(const std::string& path) {
    constexpr uintmax_t kNeeded = uintmax_t{64} * 1024;
    std::error_code error;
    const fs::space_info space = fs::space(fs::path(path).parent_path(), error);
    return !error && space.available < kNeeded;
}

}  // namespace android::kavel
