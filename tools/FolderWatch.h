#pragma once

#include <android-base/unique_fd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace android::kavel::tools {

/** A change in a folder. */
struct FolderChange {
    std::filesystem::path folder;  ///< empty if changes were lost, because too many came at once
    std::string name;
    uint32_t events = 0;  ///< IN_* of inotify(7)
};

/**
 * Waits for changes of folders, or for the user's wish to end: SIGINT or SIGTERM, which the calling
 * thread does not receive otherwise while this object exists. One thread.
 */
class FolderWatch {
  public:
    using Deadline = std::optional<std::chrono::steady_clock::time_point>;
    enum class Result { Changed, Interrupted, TimedOut };

    FolderWatch();
    ~FolderWatch();
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;

    /** Watches @p folder for @p events, the IN_* of inotify(7). @throws CommandError if it cannot
     */
    void add(const std::filesystem::path& folder, uint32_t events);

    /**
     * Blocks until there are changes, and appends them to @p changes.
     *
     * @throws CommandError if a folder is removed
     */
    Result wait(std::vector<FolderChange>& changes, const Deadline& deadline = {});

  private:
    void readChanges(std::vector<FolderChange>& changes);

    sigset_t mEndSignals{};
    sigset_t mOldMask{};
    base::unique_fd mSignals;
    base::unique_fd mChanges;
    std::vector<std::filesystem::path> mFolders;  ///< index: watch descriptor minus 1
};

}  // namespace android::kavel::tools
