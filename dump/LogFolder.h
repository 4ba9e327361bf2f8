#pragma once

#include <chrono>
#include <condition_variable>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Mutex.h"

namespace android::kavel {

/** Work that has begun in a log folder and has not ended. */
struct OpenWork {
    std::string label;
    std::chrono::steady_clock::time_point since;
};

/**
 * The log folder of one catch, or of all catches of a window. Everything that writes into it is
 * work. The pack waits a limited time for work and then closes the folder; after that no work
 * begins. Any thread; leaf locks.
 */
class LogFolder : public std::enable_shared_from_this<LogFolder> {
  public:
    enum class Kind {
        Own,     ///< of one event
        Window,  ///< of all events of a window
    };
    /** Held while something is written. The work ends when its last copy is destroyed. */
    using Work = std::shared_ptr<void>;

    explicit LogFolder(std::string path, Kind kind = Kind::Own);

    const std::string& path() const { return mPath; }
    bool isWindow() const { return mKind == Kind::Window; }

    /** Begins work that log lines call @p label. Returns null if the folder is closed. */
    Work beginWork(const std::string& label);
    /** Returns the labels of the work that has not ended, oldest first. */
    std::vector<std::string> openWork() const;
    /** Returns the work that has not ended, oldest first. */
    std::vector<OpenWork> work() const;
    /**
     * Closes the folder when its work has ended, at the latest after @p patience. Returns the rest
     * of @p patience, or nullopt if the folder was closed already.
     */
    std::optional<std::chrono::milliseconds> close(std::chrono::milliseconds patience = {});
    bool isClosed() const;
    /** Whether it can be written into: not closed, and a directory that is not the root. */
    bool isOpen() const;
    /**
     * Whether there is anything to pack: the directory has an entry that `*` matches. Also true if
     * the directory exists but cannot be read: it must not count as empty.
     */
    bool hasContent() const;

    /**
     * Appends @p line, which ends in a newline, to the events file. Returns false, and appends
     * nothing, if that fails.
     */
    bool addEventLine(const std::string& line);

  private:
    const std::string mPath;
    const Kind mKind;

    mutable Mutex mLock;
    std::condition_variable mWorkEnded;
    std::list<OpenWork> mWork GUARDED_BY(mLock);
    bool mIsClosed GUARDED_BY(mLock) = false;

    Mutex mEventsLock;  // separate, because it is held while the file is written
};

using LogFolderRef = std::shared_ptr<LogFolder>;

/** Whether less is free beside the folder @p path than an archive of a few small logs needs. */
bool isDiskFull(const std::string& path);

}  // namespace android::kavel
