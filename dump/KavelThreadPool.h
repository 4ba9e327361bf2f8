#pragma once

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <future>
#include <queue>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/Mutex.h"

// The pool stands in namespace std because that is the name under which its users know it.
namespace std {

/**
 * A growable pool of worker threads for queued tasks. Submission is fire and forget: commit()
 * never waits for a task. Any thread may commit.
 *
 * The number of threads ever started never passes the maximum size: a retired worker counts for
 * ever. That is deliberate; it bounds what a pool can cost in the life of the process.
 */
class KavelThreadPool {
  public:
    /**
     * @param namePrefix  workers are called prefix + 1, 2, ...; must outlive the pool. A name over
     *                    the kernel's 15 characters leaves the thread with the name it inherits.
     * @param coreSize    number of workers that never retire
     * @param maxSize     number of workers that are ever started
     */
    KavelThreadPool(const char* namePrefix, uint16_t coreSize, uint16_t maxSize);
    /** Runs every task that is queued, then joins the workers. */
    ~KavelThreadPool();
    KavelThreadPool(const KavelThreadPool&) = delete;
    KavelThreadPool& operator=(const KavelThreadPool&) = delete;

    /** Starts up to @p count workers, never passing the maximum size. */
    void addThread(uint16_t count);

    /**
     * Queues f(args...), with copies of the arguments. Starts another worker if none is idle and
     * the maximum is not reached, and whenever tasks wait and no worker has become free for three
     * seconds. If no thread can be created, the existing workers run the task. A pool that is being
     * destroyed still runs the task. An exception of the task is logged and kept in the future.
     */
    template <class F, class... Args>
    future<void> commit(F&& f, Args&&... args) {
        packaged_task<void()> task(
                [bound = bind(std::forward<F>(f), std::forward<Args>(args)...)]() mutable {
                    try {
                        bound();
                    } catch (const exception& e) {
                        logException(e);
                        throw;
                    }
                });
        future<void> result = task.get_future();
        enqueue(std::move(task));
        return result;
    }

  private:
    static void logException(const exception& e);
    static void logNoThread(const system_error& e);
    void enqueue(packaged_task<void()> task);
    void work();
    void startWatch();
    void watch();
    bool maySpareOneLocked() const REQUIRES(mTaskLock);

    const char* const mNamePrefix;
    const uint16_t mCoreSize;
    const uint16_t mMaxSize;

    // Lock order: grow lock, then task lock.
    android::kavel::Mutex mGrowLock;
    android::kavel::Mutex mTaskLock;
    vector<thread> mThreads GUARDED_BY(mGrowLock);
    queue<packaged_task<void()>> mTasks GUARDED_BY(mTaskLock);
    int mWaiting GUARDED_BY(mTaskLock) = 0;     // workers asleep on the signal
    int mLive GUARDED_BY(mTaskLock) = 0;        // workers that have not retired
    uint64_t mTaken GUARDED_BY(mTaskLock) = 0;  // tasks that workers have taken so far
    bool mIsWatched GUARDED_BY(mTaskLock) = false;
    thread mWatch GUARDED_BY(mGrowLock);  // the last one, ended or not
    condition_variable mTaskSignal;
    condition_variable mStopSignal;  // for the watch
    atomic<int32_t> mThreadSequence{0};
    atomic<uint16_t> mCreated{0};  // entries of mThreads, for readers without the grow lock
    atomic<bool> _run{true};
    atomic<int32_t> mIdleCount{0};
};

}  // namespace std
