#pragma once

#include <chrono>
#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include "platform/Mutex.h"

namespace android::kavel {

/** One shell command that runs or has ended. */
struct CommandRun {
    std::string command;  ///< start of its text
    std::chrono::milliseconds took;
    int status = 0;  ///< wait status; 0 while it runs
};

/** Snapshot of CommandStatistics. */
struct CommandStatus {
    uint64_t run = 0;                 ///< commands that have ended
    uint64_t failed = 0;              ///< of these: with another status than 0
    uint64_t late = 0;                ///< of these: terminated after their deadline
    std::vector<CommandRun> running;  ///< oldest first
    std::vector<CommandRun> slowest;  ///< of those that have ended, slowest first
};

/** The shell commands of this process. Any thread; leaf lock. */
class CommandStatistics {
  public:
    using Clock = std::chrono::steady_clock;

    /** Number of slow commands that are kept. */
    static constexpr size_t kSlowest = 5;
    /** Maximum length in bytes of the text that is kept of a command. */
    static constexpr size_t kMaxText = 200;

    /** The object of the process. Never destroyed. */
    static CommandStatistics& instance();

    struct Started {
        std::string command;
        Clock::time_point since;
    };
    using Ticket = std::list<Started>::iterator;

    /** Notes that @p command starts. The caller must pass the result to end(). */
    Ticket begin(const std::string& command);
    void end(Ticket ticket, int status, bool isLate);

    CommandStatus status() const;

  private:
    mutable Mutex mLock;
    CommandStatus mEnded GUARDED_BY(mLock);
    std::list<Started> mRunning GUARDED_BY(mLock);
};

}  // namespace android::kavel
