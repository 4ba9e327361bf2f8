#include "desk/serve/Watcher.h"

#include <fmt/core.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "desk/index/FindArchives.h"
#include "desk/index/IndexArchives.h"

namespace kaveldesk {
namespace {

namespace fs = std::filesystem;

constexpr uint32_t kMask = IN_CLOSE_WRITE | IN_MOVED_TO | IN_CREATE | IN_ONLYDIR | IN_DONT_FOLLOW;
constexpr int kGatherMs = 200;       // for the files that come together
constexpr int kRetryMs = 10'000;     // after an error of the store
constexpr size_t kMostPaths = 1000;  // more are indexed in the next turn

std::string absoluteFolder(const std::string& path) {
    if (!fs::is_directory(path))
        throw std::runtime_error(fmt::format("'{}' is not a folder", path));
    return fs::absolute(path).lexically_normal().string();
}

}  // namespace

Watcher::Watcher(std::unique_ptr<Store> store, const std::string& folder, Events events)
      : mStore(std::move(store)),
        mFolder(absoluteFolder(folder)),
        mEvents(std::move(events)),
        mNotify(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)),
        mStopEvent(eventfd(0, EFD_CLOEXEC)) {
    mThread = std::thread([this] { run(); });
}

Watcher::~Watcher() {
    mStop = true;
    eventfd_write(mStopEvent.get(), 1);
    mThread.join();
}

void Watcher::run() {
    std::set<std::string> paths = {mFolder};
    watch(mFolder);  // before it is read: what comes meanwhile is found in one way or the other
    while (!mStop) {
        const bool isDone = paths.empty() || index(paths);
        if (isDone) paths.clear();
        if (waitUntilReadable(isDone ? -1 : kRetryMs)) {
            // A pause lets files that come together be stored together.
            poll(nullptr, 0, kGatherMs);
            takeEvents(paths);
        }
    }
}

bool Watcher::waitUntilReadable(int timeoutMs) const {
    std::array<pollfd, 2> polls = {{{mNotify.get(), POLLIN, 0}, {mStopEvent.get(), POLLIN, 0}}};
    return poll(polls.data(), polls.size(), timeoutMs) > 0 && polls[1].revents == 0;
}

void Watcher::watch(const std::string& folder) {
    const auto add = [this](const std::string& path) {
        const int number = inotify_add_watch(mNotify.get(), path.c_str(), kMask);
        if (number >= 0) {
            mFolders[number] = path;
        } else if (errno != ENOENT) {
            mEvents.complained(fmt::format("{} cannot be watched: {}", path,
                                           std::generic_category().message(errno)));
        }
    };
    add(folder);
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied,
                                           error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        std::error_code ignored;
        if (fs::is_directory(entry->symlink_status(ignored))) add(entry->path().string());
    }
}

void Watcher::takeEvents(std::set<std::string>& paths) {
    alignas(inotify_event) std::array<char, 16'384> buffer;
    while (paths.size() < kMostPaths) {
        const ssize_t size = read(mNotify.get(), buffer.data(), buffer.size());
        if (size <= 0) return;
        for (ssize_t at = 0; at < size;) {
            inotify_event event;
            std::memcpy(&event, buffer.data() + at, sizeof(event));
            const char* const name = buffer.data() + at + sizeof(event);
            at += static_cast<ssize_t>(sizeof(event) + event.len);
            const auto folder = mFolders.find(event.wd);
            if ((event.mask & IN_Q_OVERFLOW) != 0) {
                watch(mFolder);
                paths.insert(mFolder);
            } else if (folder == mFolders.end()) {
                continue;
            } else if ((event.mask & IN_IGNORED) != 0) {
                if (folder->second == mFolder) {
                    mEvents.complained(
                            fmt::format("{} is gone and is not watched any more", mFolder));
                }
                mFolders.erase(folder);
            } else if (event.len > 0) {
                const std::string path = (fs::path(folder->second) / name).string();
                if ((event.mask & IN_ISDIR) != 0) {
                    watch(path);
                    paths.insert(path);
                } else if ((event.mask & IN_CREATE) == 0 && hasArchiveName(name)) {
                    paths.insert(path);
                }
            }
        }
    }
}

bool Watcher::index(const std::set<std::string>& paths) {
    std::vector<std::string> existing;
    for (const std::string& path : paths) {
        std::error_code error;
        const fs::file_status status = fs::symlink_status(path, error);
        if (fs::is_directory(status) || fs::is_regular_file(status)) existing.push_back(path);
    }
    uint64_t shown = 0;
    IndexOptions options;
    // One core is for the pages.
    options.threads = std::max(2U, std::thread::hardware_concurrency()) - 1;
    options.stop = &mStop;
    options.progress = [&](const IndexCounts& counts, const IndexTotals&) {
        if (std::exchange(shown, counts.indexed) < counts.indexed) mEvents.indexed();
    };
    options.failed = [this](const fs::path& path, const std::string& reason) {
        mEvents.complained(fmt::format("{}: {}", path.string(), reason));
    };
    try {
        // The last ones are stored at the end.
        if (indexArchives(*mStore, existing, options).indexed > 0) mEvents.indexed();
        return true;
    } catch (const std::exception& error) {
        mEvents.complained(
                fmt::format("{}; the next try is in {} s", error.what(), kRetryMs / 1000));
        return false;
    }
}

}  // namespace kaveldesk
