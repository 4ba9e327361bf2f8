#include "host/system/PropertyStore.h"

#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utils/Timers.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <memory>

#include "host/system/PropertyRules.h"

namespace android::kavel::host {

namespace {

constexpr char kUnfinishedName[] = ".unfinished";  // no legal name begins with a dot
constexpr mode_t kFileMode = 0644;                 // readable for all, regardless of init's umask

}  // namespace

std::optional<std::string> PropertyFolder::read(const std::string& name) const {
    std::string value;
    if (!isLegalPropertyName(name) || !base::ReadFileToString(mPath + "/" + name, &value)) {
        return std::nullopt;
    }
    return value;
}

std::map<std::string, std::string> PropertyFolder::readAll() const {
    std::map<std::string, std::string> properties;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(mPath.c_str()), closedir);
    if (folder == nullptr) return properties;
    while (const dirent* entry = readdir(folder.get())) {
        if (auto value = read(entry->d_name)) properties.emplace(entry->d_name, std::move(*value));
    }
    return properties;
}

bool PropertyFolder::write(const std::string& name, const std::string& value) const {
    const std::string unfinished = mPath + "/" + kUnfinishedName;
    const base::unique_fd fd(
            open(unfinished.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kFileMode));
    return fd.ok() && fchmod(fd.get(), kFileMode) == 0 && base::WriteStringToFd(value, fd.get()) &&
           rename(unfinished.c_str(), (mPath + "/" + name).c_str()) == 0;
}

bool PropertyFolder::create() const {
    if (mkdir(mPath.c_str(), 0755) == 0) return chmod(mPath.c_str(), 0755) == 0;
    return errno == EEXIST;
}

void PropertyFolder::clear() const {
    for (const auto& [name, value] : readAll()) unlink((mPath + "/" + name).c_str());
}

bool PropertyFolder::waitFor(const std::string& name, const std::string& value,
                             int64_t deadlineNs) const {
    const base::unique_fd changes(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (inotify_add_watch(changes.get(), mPath.c_str(), IN_MOVED_TO) < 0) return false;
    while (read(name) != value) {
        constexpr int64_t kNanosPerMilli = 1'000'000;
        const int64_t left = (deadlineNs - systemTime(SYSTEM_TIME_MONOTONIC)) / kNanosPerMilli;
        if (left < 0) return false;
        pollfd waiting{changes.get(), POLLIN, 0};
        poll(&waiting, 1, static_cast<int>(std::min<int64_t>(left + 1, INT_MAX)));
        alignas(inotify_event) char events[4096];
        static_cast<void>(::read(changes.get(), events, sizeof(events)));
    }
    return true;
}

}  // namespace android::kavel::host
