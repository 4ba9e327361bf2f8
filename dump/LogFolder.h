#pragma once

#include <chrono>
#include <condition_variable>
#include <list>
#include <memory>
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
    /** Waits until no work is left, for up to @p patience. Returns what is left of that. */
    std::chrono::milliseconds awaitWork(std::chrono::milliseconds patience);
    /** Lets no further work begin. False if the folder was closed already. */
    bool close();
    bool isClosed() const;
    /** Whether it can be written into: not closed, and a directory that is not the root. */
    bool isOpen() const;
    /** Whether there is anything to pack: the directory has an entry that `*` matches. */
    bool hasContent() const;

    /**
     * Adds @p line to the events file of the folder, which is replaced as a whole, so that a reader
     * never finds a part of it. False if it cannot be written; the file is then as it was.
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
    std::string mEventLines GUARDED_BY(mEventsLock);
};

using LogFolderRef = std::shared_ptr<LogFolder>;

}  // namespace android::kavel
