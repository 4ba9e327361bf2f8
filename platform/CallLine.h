#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <memory>

#include "platform/Mutex.h"

namespace android::kavel {

/**
 * Calls of one kind that may hang: requests to a service, functions of a maker's library. They run
 * on threads of the line, so that a caller can go on while its call is still outstanding. The
 * threads end when the line is idle. A line lives as long as the process, because a call that hangs
 * never leaves it. Any thread.
 */
class CallLine {
  public:
    enum class Outcome {
        Returned,
        Late,        ///< has not returned in the caller's time; it is still outstanding
        NotAwaited,  ///< outstanding as well, behind an earlier call that is overdue
        Full,        ///< dropped: as many calls are outstanding as the line takes
        NoThread,    ///< dropped: there is no thread to run it
    };

    /**
     * @param atOnce  calls that may run at once; if it is 1, they run in the order of their arrival
     * @param limit   calls that may be outstanding, those that wait for a thread included
     */
    CallLine(size_t atOnce, size_t limit) : mAtOnce(atOnce), mLimit(limit) {}
    ~CallLine() = delete;

    /**
     * Runs @p body on a thread of the line and waits until it has returned: for @p patience at
     * most, and not at all while an earlier call has been outstanding for that long.
     */
    Outcome call(std::function<void()> body, std::chrono::milliseconds patience);

  private:
    struct Call {
        const std::function<void()> body;
        const std::chrono::steady_clock::time_point since;
        bool isOutstanding = true;  // under mLock
    };
    using CallRef = std::shared_ptr<Call>;

    bool startThreadLocked() REQUIRES(mLock);
    void serve() EXCLUDES(mLock);
    CallRef next() EXCLUDES(mLock);
    void finish(const CallRef& call) EXCLUDES(mLock);

    const size_t mAtOnce;
    const size_t mLimit;
    Mutex mLock;
    std::condition_variable mQueued;
    std::condition_variable mReturned;
    std::list<CallRef> mOutstanding GUARDED_BY(mLock);  // the oldest first
    std::deque<CallRef> mQueue GUARDED_BY(mLock);       // those of them that no thread has taken
    size_t mThreads GUARDED_BY(mLock) = 0;
    size_t mIdle GUARDED_BY(mLock) = 0;
};

/** @p outcome as the end of a log line. */
inline const char* outcomeText(CallLine::Outcome outcome) {
    using Outcome = CallLine::Outcome;
    switch (outcome) {
        case Outcome::Late:
            return "has not returned in time";
        case Outcome::NotAwaited:
            return "not waited for, an earlier call is overdue";
        case Outcome::Full:
            return "dropped, too many calls are outstanding";
        case Outcome::NoThread:
            return "dropped, there is no thread for it";
        case Outcome::Returned:
            break;
    }
    return "has returned";
}

}  // namespace android::kavel
