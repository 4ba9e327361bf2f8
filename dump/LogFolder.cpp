#include "dump/LogFolder.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include <android-base/file.h>

#include "dump/EventLine.h"
#include "dump/LogFolderName.h"

namespace fs = std::filesystem;

namespace android::kavel {

LogFolder::LogFolder(std::string path, Kind kind) : mPath(std::move(path)), mKind(kind) {}

LogFolder::Work LogFolder::beginWork(const std::string& label) {
    std::list<std::string>::iterator entry;
    {
        MutexLock lock(mLock);
        if (mIsClosed) return nullptr;
        entry = mWork.insert(mWork.end(), label);
    }
    // Without the lock, which the end takes. The work holds the folder, so that its end finds the
    // list.
    return {&*entry, [folder = shared_from_this(), entry](void* /*label*/) {
                MutexLock lock(folder->mLock);
                folder->mWork.erase(entry);
                folder->mWorkEnded.notify_all();
            }};
}

std::vector<std::string> LogFolder::openWork() const {
    MutexLock lock(mLock);
    return {mWork.begin(), mWork.end()};
}

std::chrono::milliseconds LogFolder::awaitWork(std::chrono::milliseconds patience) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + patience;
    MutexLock lock(mLock);
    while (!mWork.empty() && lock.waitUntil(mWorkEnded, end)) {
    }
    return std::max(std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()),
                    std::chrono::milliseconds(0));
}

bool LogFolder::close() {
    MutexLock lock(mLock);
    return !std::exchange(mIsClosed, true);
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
    return false;
}

bool LogFolder::addEventLine(const std::string& line) {
    const std::string file = mPath + "/" + kEventsFile;
    const std::string draft = mPath + "/." + kEventsFile;  // `*` does not match it
    MutexLock lock(mEventsLock);
    std::error_code error;
    if (base::WriteStringToFile(mEventLines + line, draft)) {
        fs::rename(draft, file, error);
        if (!error) {
            mEventLines += line;
            return true;
        }
    }
    fs::remove(draft, error);
    return false;
}

}  // namespace android::kavel
