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

/** A received call, which is queued or running. */
struct Call {
    sp<BBinder> object;
    Frame frame;
    pid_t pid = 0;  ///< of the caller; 0 for one-way calls, as with the driver
    uid_t uid = 0;
    std::shared_ptr<Connection> connection;  ///< for the answer; null for one-way calls

    bool isOneWay() const { return connection == nullptr; }
};

/**
 * The calls that wait for a pool thread. Two-way calls start in the order of their arrival. One-way
 * calls to the same object run one after the other. The size of all queued and running calls is
 * limited as by the driver. Thread-safe.
 */
class WorkQueue {
  public:
    /** The queue of the process. Never destroyed, because pool threads outlive main(). */
    static WorkQueue& instance();

    /** Queues @p call. Returns false, without a change, if the limit is reached. */
    bool post(Call call);

    /**
     * Waits for a call and removes it from the queue.
     *
     * @param wasLastIdle  set to true if no other thread waits for a call now
     */
    Call take(bool* wasLastIdle);

    /** Ends a call from take(): the next one-way call to its object may start. */
    void finish(const Call& call);

  private:
    Mutex mLock;
    Condition mWork;
    std::deque<Call> mReady GUARDED_BY(mLock);
    /** Objects with a one-way call in mReady or running, and the calls queued behind that one. */
    std::map<const BBinder*, std::deque<Call>> mOneWay GUARDED_BY(mLock);
    size_t mUsed GUARDED_BY(mLock) = 0;
    size_t mOneWayUsed GUARDED_BY(mLock) = 0;
    size_t mIdle GUARDED_BY(mLock) = 0;
};

}  // namespace android::kavel::host
