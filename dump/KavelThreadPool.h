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

namespace android::kavel {

/** Snapshot of a thread pool. */
struct PoolStatus {
    const char* name = "";
    size_t threads = 0;  ///< workers that have not ended
    size_t idle = 0;     ///< of these: without a task
    size_t queued = 0;   ///< tasks that wait for a worker
    size_t created = 0;  ///< workers that were ever started
    size_t limit = 0;    ///< maximum of these
};

}  // namespace android::kavel

// In namespace std because callers use the pool under that name.
namespace std {

/**
 * A pool of worker threads for queued tasks, which grows on demand. commit() does not wait for the
 * task. Any thread may call it.
 *
 * The number of threads that are ever started is at most the maximum size: a worker that has ended
 * still counts. This is intended. It limits the cost of a pool over the life of the process.
 */
class KavelThreadPool {
  public:
    /**
     * @param namePrefix  workers are named prefix + 1, 2, ...; must outlive the pool. If a name is
     *                    longer than the kernel's 15 characters, the thread keeps its inherited
     *                    name.
     * @param coreSize    number of workers that never end
     * @param maxSize     maximum number of workers ever started
     */
    KavelThreadPool(const char* namePrefix, uint16_t coreSize, uint16_t maxSize);
    /** Runs all queued tasks, then joins the workers. */
    ~KavelThreadPool();
    KavelThreadPool(const KavelThreadPool&) = delete;
    KavelThreadPool& operator=(const KavelThreadPool&) = delete;

    /** Starts up to @p count workers, but never more than the maximum size. */
    void addThread(uint16_t count);

    /**
     * Queues f(args...), with copies of the arguments. Starts another worker if none is idle and
     * the maximum is not reached. If no thread can be created, the existing workers run the task.
     * Another worker is also started if no worker becomes free for three seconds while a task
     * waits. A pool that is being destroyed still runs the task. An exception from the task is
     * logged and stored in the future.
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

    android::kavel::PoolStatus status() const;

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
    mutable android::kavel::Mutex mTaskLock;
    vector<thread> mThreads GUARDED_BY(mGrowLock);
    queue<packaged_task<void()>> mTasks GUARDED_BY(mTaskLock);
    int mWaiting GUARDED_BY(mTaskLock) = 0;     // workers that wait for the signal
    int mLive GUARDED_BY(mTaskLock) = 0;        // workers that have not ended
    uint64_t mTaken GUARDED_BY(mTaskLock) = 0;  // number of tasks taken so far
    bool mIsWatched GUARDED_BY(mTaskLock) = false;
    thread mWatch GUARDED_BY(mGrowLock);  // latest watch thread, running or ended
    condition_variable mTaskSignal;
    condition_variable mStopSignal;  // for the watch
    atomic<int32_t> mThreadSequence{0};
    atomic<uint16_t> mCreated{0};  // size of mThreads, readable without the grow lock
    atomic<bool> _run{true};
    atomic<int32_t> mIdleCount{0};
};

}  // namespace std
