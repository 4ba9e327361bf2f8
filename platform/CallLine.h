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
 * Runs calls of one kind that may hang, such as requests to a service or functions of a maker's
 * library. They run on threads of the line, so a caller can continue while its call is outstanding.
 * The threads end when the line is idle. A line is never destroyed, because a call that hangs never
 * ends. Any thread.
 */
class CallLine {
  public:
    enum class Outcome {
        Returned,
        Late,        ///< not returned within the caller's time; still outstanding
        NotAwaited,  ///< outstanding, but an earlier call is overdue
        Full,        ///< dropped: the maximum number of calls is outstanding
        NoThread,    ///< dropped: no thread can be created to run it
    };

    /**
     * @param atOnce  maximum number of calls that run at once; with 1 they run in the order of
     *                arrival
     * @param limit   maximum number of outstanding calls, including those that wait for a thread
     */
    CallLine(size_t atOnce, size_t limit) : mAtOnce(atOnce), mLimit(limit) {}
    ~CallLine() = delete;

    /**
     * Runs @p body on a thread of the line and waits until it returns, for at most @p patience.
     * Does not wait if an earlier call has been outstanding for that long.
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
    std::list<CallRef> mOutstanding GUARDED_BY(mLock);  // oldest first
    std::deque<CallRef> mQueue GUARDED_BY(mLock);       // outstanding, not yet taken
    size_t mThreads GUARDED_BY(mLock) = 0;
    size_t mIdle GUARDED_BY(mLock) = 0;
};

/** Returns @p outcome as the end of a log line. */
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
