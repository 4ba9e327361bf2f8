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

/**
 * The log folder of one catch, or of all catches of a time window. What is written into it is work;
 * the pack waits for work for a while and then closes the folder, after which no work begins.
 * Shared by its users. Any thread; leaf locks.
 */
class LogFolder : public std::enable_shared_from_this<LogFolder> {
  public:
    enum class Kind {
        Own,     ///< of one event
        Window,  ///< of all events of a time window
    };
    /** Held while something is written. The work ends when its last copy is gone. */
    using Work = std::shared_ptr<void>;

    explicit LogFolder(std::string path, Kind kind = Kind::Own);

    const std::string& path() const { return mPath; }
    bool isWindow() const { return mKind == Kind::Window; }

    /** Begins the work that log lines call @p label. Null if the folder is closed. */
    Work beginWork(const std::string& label);
    /** Labels of the work that has not ended, oldest first. */
    std::vector<std::string> openWork() const;
    /**
     * Waits until no work is left, for up to @p patience, and lets no further work begin. Returns
     * what is left of @p patience, or nullopt if the folder was closed already.
     */
    std::optional<std::chrono::milliseconds> close(std::chrono::milliseconds patience = {});
    bool isClosed() const;
    /** Whether it can be written into: not closed, and a directory that is not the root. */
    bool isOpen() const;
    /**
     * Whether there is anything to pack: the directory has an entry that `*` matches. True if it is
     * there but cannot be read: it must not count as empty.
     */
    bool hasContent() const;

    /** Adds @p line, which ends in a newline, to the events file: all of it, or nothing and false.
     */
    bool addEventLine(const std::string& line);

  private:
    const std::string mPath;
    const Kind mKind;

    mutable Mutex mLock;
    std::condition_variable mWorkEnded;
    std::list<std::string> mWork GUARDED_BY(mLock);
    bool mIsClosed GUARDED_BY(mLock) = false;

    Mutex mEventsLock;  // of its own: it is held while the file is written
};

using LogFolderRef = std::shared_ptr<LogFolder>;

}  // namespace android::kavel
