#include "dump/KavelThreadPool.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <system_error>
#include <utility>

#include <pthread.h>

#include "platform/Log.h"

namespace std {

using android::kavel::MutexLock;

namespace {

/**
 * Number of times a worker polls the queue before it sleeps. In a burst, the next task is often
 * just being queued, and waking a worker takes longer than several small tasks.
 */
constexpr int kLooks = 4;

/** Time without a free worker after which waiting tasks get another worker. */
constexpr chrono::seconds kStall(3);

}  // namespace

KavelThreadPool::KavelThreadPool(const char* namePrefix, uint16_t coreSize, uint16_t maxSize)
      : mNamePrefix(namePrefix), mCoreSize(coreSize), mMaxSize(maxSize) {}

KavelThreadPool::~KavelThreadPool() {
    {
        MutexLock lock(mTaskLock);
        _run = false;
    }
    mTaskSignal.notify_all();
    mStopSignal.notify_all();
    vector<thread> threads;
    {
        MutexLock lock(mGrowLock);
        threads.swap(mThreads);
        threads.push_back(std::move(mWatch));
    }
    // Without the grow lock: the watch, or a task that commits another one, may need it.
    for (thread& each : threads) {
        if (each.joinable()) each.join();
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
                ++mIdleCount;  // addThread() has already counted a new worker
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
            ++mTaken;
        }
        task();
        task = {};  // destroys its arguments now, not when the next task arrives
    }
}

bool KavelThreadPool::maySpareOneLocked() const {
    // Extra workers end as soon as another one is idle. A pool that is being destroyed keeps all
    // workers until its queue is empty.
    return _run && mIdleCount >= 1 && mLive > mCoreSize;
}

void KavelThreadPool::enqueue(packaged_task<void()> task) {
    if (!_run) {
        KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel commit]: KavelThreadPool _run is false.\n");
    }
    bool wake = false;
    bool needsWatch = false;
    {
        MutexLock lock(mTaskLock);
        mTasks.push(std::move(task));
        wake = mWaiting > 0;  // a worker that is awake checks the queue before it sleeps
        // The idle count decreases after a burst is queued, so there may be more tasks than idle
        // workers.
        const bool waits = mIdleCount < 0 || mTasks.size() > static_cast<size_t>(mIdleCount);
        needsWatch = _run && waits && mCreated < mMaxSize && !exchange(mIsWatched, true);
    }
    try {
        if (mIdleCount < 1 && mCreated < mMaxSize) addThread(1);
        if (needsWatch) startWatch();
    } catch (const system_error& e) {
        // The task is queued, so the existing workers run it.
        logNoThread(e);
        MutexLock lock(mTaskLock);
        if (needsWatch) mIsWatched = false;
    }
    if (wake) mTaskSignal.notify_one();
}

void KavelThreadPool::startWatch() {
    MutexLock grow(mGrowLock);
    if (!_run) return;
    if (mWatch.joinable()) mWatch.join();  // it has ended, or is about to
    mWatch = thread([this] { watch(); });
}

/** Adds a worker if tasks have waited too long. Ends when no task is waiting. */
void KavelThreadPool::watch() {
    pthread_setname_np(pthread_self(), "kavel_tp_watch");
    while (true) {
        {
            MutexLock lock(mTaskLock);
            const uint64_t taken = mTaken;
            const auto end = chrono::steady_clock::now() + kStall;
            while (_run && lock.waitUntil(mStopSignal, end)) {
            }
            if (!_run || mTasks.empty() || mCreated >= mMaxSize) {
                mIsWatched = false;
                return;
            }
            if (mTaken != taken) continue;
        }
        try {
            addThread(1);
        } catch (const system_error& e) {
            logNoThread(e);
        }
    }
}

android::kavel::PoolStatus KavelThreadPool::status() const {
    MutexLock lock(mTaskLock);
    // A new worker is counted a moment after it starts, so both counts can be negative.
    return {mNamePrefix,
            static_cast<size_t>(max(mLive, 0)),
            static_cast<size_t>(max(mIdleCount.load(), 0)),
            mTasks.size(),
            mCreated,
            mMaxSize};
}

void KavelThreadPool::logNoThread(const system_error& e) {
    KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel commit]: no further thread: %s\n", e.what());
}

void KavelThreadPool::logException(const exception& e) {
    KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel commit]: task ended with an exception: %s\n", e.what());
}

}  // namespace std
