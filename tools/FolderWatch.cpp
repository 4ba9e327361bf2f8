#include "tools/FolderWatch.h"

#include <poll.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>

#include "tools/CommandLine.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

/** Returns the time for poll(): -1 for ever. */
int pollTime(const FolderWatch::Deadline& deadline) {
    if (!deadline) return -1;
    const auto left = *deadline - std::chrono::steady_clock::now();
    const auto ms = std::chrono::ceil<std::chrono::milliseconds>(left).count();
    return static_cast<int>(std::clamp<int64_t>(ms, 0, INT_MAX));
}

}  // namespace

FolderWatch::FolderWatch() {
    sigemptyset(&mEndSignals);
    sigaddset(&mEndSignals, SIGINT);
    sigaddset(&mEndSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &mEndSignals, &mOldMask);
    mSignals.reset(signalfd(-1, &mEndSignals, SFD_CLOEXEC));
    mChanges.reset(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
}

FolderWatch::~FolderWatch() {
    // Remove pending signals before they are unblocked: they have already been handled.
    signalfd_siginfo info{};
    pollfd pending{mSignals.get(), POLLIN, 0};
    while (poll(&pending, 1, 0) > 0 && read(mSignals.get(), &info, sizeof(info)) > 0) {
    }
    pthread_sigmask(SIG_SETMASK, &mOldMask, nullptr);
}

void FolderWatch::add(const std::filesystem::path& folder, uint32_t events) {
    const int number =
            inotify_add_watch(mChanges.get(), folder.c_str(), events | IN_ONLYDIR | IN_MASK_ADD);
    if (!mSignals.ok() || number < 0) {
        throw CommandError("cannot watch " + printable(folder.string()) + ": " + strerror(errno));
    }
    mFolders.resize(std::max(mFolders.size(), static_cast<size_t>(number)));
    mFolders[static_cast<size_t>(number) - 1] = folder;
}

void FolderWatch::readChanges(std::vector<FolderChange>& changes) {
    alignas(inotify_event) std::array<char, 4096> buffer;
    ssize_t length = 0;
    while ((length = read(mChanges.get(), buffer.data(), buffer.size())) > 0) {
        for (size_t at = 0; at < static_cast<size_t>(length);) {
            inotify_event event{};
            memcpy(&event, &buffer.at(at), sizeof(event));
            const char* const name = buffer.data() + at + sizeof(event);
            at += sizeof(event) + event.len;
            if ((event.mask & IN_Q_OVERFLOW) != 0) {
                changes.push_back({});
                continue;
            }
            const std::filesystem::path& folder = mFolders.at(static_cast<size_t>(event.wd) - 1);
            if ((event.mask & IN_IGNORED) != 0) {
                throw CommandError(printable(folder.string()) + " is gone");
            }
            changes.push_back({folder, event.len == 0 ? "" : name, event.mask});
        }
    }
}

FolderWatch::Result FolderWatch::wait(std::vector<FolderChange>& changes,
                                      const Deadline& deadline) {
    std::array<pollfd, 2> sources{{{mSignals.get(), POLLIN, 0}, {mChanges.get(), POLLIN, 0}}};
    int ready = 0;
    do {
        ready = poll(sources.data(), sources.size(), pollTime(deadline));
    } while (ready < 0 && errno == EINTR);
    if (ready == 0) return Result::TimedOut;
    if (ready < 0 || (sources[0].revents & POLLIN) != 0) return Result::Interrupted;
    readChanges(changes);
    return Result::Changed;
}

}  // namespace android::kavel::tools
