#include "dump/KavelThreadPool.h"

#include <string>
#include <system_error>

#include <pthread.h>

#include "platform/Log.h"

namespace std {

using android::kavel::MutexLock;

namespace {

/**
 * So often a worker looks for a task before it sleeps. The next task of a burst is often just being
 * queued, and to sleep and be woken costs more than several small tasks.
 */
constexpr int kLooks = 4;

}  // namespace

KavelThreadPool::KavelThreadPool(const char* namePrefix, uint16_t coreSize, uint16_t maxSize)
      : mNamePrefix(namePrefix), mCoreSize(coreSize), mMaxSize(maxSize) {}

KavelThreadPool::~KavelThreadPool() {
    {
        MutexLock lock(mTaskLock);
        _run = false;
    }
    mTaskSignal.notify_all();
    vector<thread> threads;
    {
        MutexLock lock(mGrowLock);
        threads.swap(mThreads);
    }
    // Not under the grow lock: a task that commits another one may ask for it.
    for (thread& worker : threads) {
        if (worker.joinable()) worker.join();
    }
}

void KavelThreadPool::addThread(uint16_t count) {
    MutexLock grow(mGrowLock);
    if (!_run) {
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel addThread]: KavelThreadPool _run is false.\n");
        return;
    }
    for (; mThreads.size() < mMaxSize && count > 0; --count) {
        mThreads.emplace_back([this] { work(); });
        ++mCreated;
        MutexLock lock(mTaskLock);
        ++mIdleCount;
        ++mLive;
    }
}

void KavelThreadPool::work() {
    const string name = mNamePrefix + to_string(++mThreadSequence);
    pthread_setname_np(pthread_self(), name.c_str());
    packaged_task<void()> task;
    for (bool isFirst = true;; isFirst = false) {
        {
            MutexLock lock(mTaskLock);
            if (!isFirst) {
                if (maySpareOneLocked()) {
                    --mLive;
                    return;
                }
                ++mIdleCount;  // addThread() has counted a new worker already
            }
            for (int looks = 0; _run && mTasks.empty(); ++looks) {
                if (looks < kLooks) {
                    lock.yield();
                    continue;
                }
                ++mWaiting;
                lock.wait(mTaskSignal);
                --mWaiting;
            }
            if (mTasks.empty()) return;
            --mIdleCount;
            task = std::move(mTasks.front());
            mTasks.pop();
        }
        task();
        task = {};  // what it holds must not live until the next task comes
    }
}

bool KavelThreadPool::maySpareOneLocked() const {
    // Extra workers retire as soon as another one is idle. A pool that is being destroyed keeps
    // them all until its queue is empty.
    return _run && mIdleCount >= 1 && mLive > mCoreSize;
}

void KavelThreadPool::enqueue(packaged_task<void()> task) {
    if (!_run) {
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel commit]: KavelThreadPool _run is false.\n");
    }
    bool wake = false;
    {
        MutexLock lock(mTaskLock);
        mTasks.push(std::move(task));
        wake = mWaiting > 0;  // a worker that is awake looks at the queue before it sleeps
    }
    try {
        if (mIdleCount < 1 && mCreated < mMaxSize) addThread(1);
    } catch (const system_error& e) {
        // The task is queued, and the workers that there are will come to it.
        KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel commit]: no further thread: %s\n", e.what());
    }
    if (wake) mTaskSignal.notify_one();
}

void KavelThreadPool::logException(const exception& e) {
    KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel commit]: task ended with an exception: %s\n", e.what());
}

}  // namespace std
