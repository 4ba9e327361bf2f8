#pragma once

#include <binder/Binder.h>
#include <sys/types.h>
#include <utils/Condition.h>
#include <utils/Mutex.h>

#include <deque>
#include <map>
#include <memory>

#include "host/binder/Frame.h"

namespace android::kavel::host {

struct Connection;

/** A call that has arrived and waits for, or is with, a pool thread. */
struct Call {
    sp<BBinder> object;
    Frame frame;
    pid_t pid = 0;  ///< the caller's; 0 for one-way calls, as with the driver
    uid_t uid = 0;
    std::shared_ptr<Connection> connection;  ///< where the answer goes; none for one-way calls

    bool isOneWay() const { return connection == nullptr; }
};

/**
 * The calls of this process that wait for a thread. Two-way calls are handed out as they came;
 * one-way calls to one object one after the other, each when the one before is finished. What is
 * waiting or in work is bounded as by the driver. Thread-safe.
 */
class WorkQueue {
  public:
    /** The process's queue; never destroyed, as pool threads outlive main. */
    static WorkQueue& instance();

    /** Accepts @p call; false, and no change, where its room is used up. */
    bool post(Call call);

    /**
     * Waits for a call and hands it to the calling thread.
     *
     * @param wasLastIdle  set to whether no other thread is left waiting
     */
    Call take(bool* wasLastIdle);

    /** Gives back the room of a call that was handed out and has been handled. */
    void finish(const Call& call);

  private:
    Mutex mLock;
    Condition mWork;
    std::deque<Call> mReady GUARDED_BY(mLock);
    /** The objects with a one-way call ready or in work, and the calls that must wait for it. */
    std::map<const BBinder*, std::deque<Call>> mOneWay GUARDED_BY(mLock);
    size_t mUsed GUARDED_BY(mLock) = 0;
    size_t mOneWayUsed GUARDED_BY(mLock) = 0;
    size_t mIdle GUARDED_BY(mLock) = 0;
};

}  // namespace android::kavel::host
