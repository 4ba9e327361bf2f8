// Requests and their lists. AnrRecovery.cpp has the code that runs when the time of a watch is
// over.

#include "recovery/KavelAnrRecoveryMonitor.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <thread>

#include "platform/Log.h"

namespace android {

ANDROID_SINGLETON_STATIC_INSTANCE(KavelAnrRecoveryMonitor)

using kavel::kAnrWatch;
using kavel::kUserRequestWatch;
using kavel::MutexLock;

namespace {

constexpr int32_t kCancel = 0;
constexpr int32_t kMonitor = 1;

constexpr uint32_t kMaxPid = 0x400000;  // PID_MAX_LIMIT of the 64-bit kernel
constexpr size_t ThreadMaxOnlineCount = 10;

// Maximum number of watch threads. A cancelled watch is no longer in the list but still waits, so
// the size of the list does not limit the threads.
constexpr size_t kMaxWatchThreads = 31;

constexpr const char* kHandleThread = "handle_thread";

/** If the thread does not start, the request stays queued until the next one. */
void runHandleThread(const sp<KavelAnrRecoveryMonitor::HandleThread>& thread, const char* method) {
    const status_t status = thread->run(kHandleThread, 0, 0);
    if (status != OK) {
        KAVEL_LOGE(KAVEL_NO_TAG, "[KavelAnrRecoveryMonitor::%s]: no thread: %d", method, status);
    }
}

}  // namespace

int KavelAnrRecoveryMonitor::monitor(int pid, bool userRequest) {
    // Compared as unsigned, so that negative pids are too large as well.
    if (static_cast<uint32_t>(pid) > kMaxPid) {
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[KavelAnrRecoveryMonitor::monitor]: Pid is invalid, Must 0 <= pid <= 0x%x, but "
                   "current val:0x%x.",
                   kMaxPid, static_cast<uint32_t>(pid));
        return -1;
    }
    // One more than the name says: an 11th watch is accepted while 10 are in the list.
    if (mWatchCount > ThreadMaxOnlineCount) {
        KAVEL_LOGE(KAVEL_NO_TAG,
                   "[KavelAnrRecoveryMonitor::monitor]: >=ThreadMaxOnlineCount(%ld),user "
                   "request:%d, process:%d",
                   static_cast<long>(ThreadMaxOnlineCount), userRequest, pid);
        return -1;
    }
    const Message message = {pid, kMonitor, userRequest ? kUserRequestWatch : kAnrWatch};

    MutexLock lock(mLock);
    mRequestList.push_back(message);
    mHandleThread = new HandleThread(this);
    runHandleThread(mHandleThread, "monitor");
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[KavelAnrRecoveryMonitor::monitor]:process(%d) insert monitor list, type:%s!", pid,
               message.monitorThreadName.c_str());
    int index = 0;
    for (const Message& waiting : mRequestList) {
        KAVEL_LOGD(KAVEL_NO_TAG, "[KavelAnrRecoveryMonitor::monitor]:[%d]:pid=%d,name=%s,state:%d",
                   index++, waiting.pid, waiting.monitorThreadName.c_str(), waiting.state);
    }
    return 0;
}

int KavelAnrRecoveryMonitor::cancel_monitor(int pid) {
    {
        MutexLock lock(mLock);
        mRequestList.push_back({pid, kCancel, ""});
    }
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[KavelAnrRecoveryMonitor::cancel_monitor]: received cancel pid(%d) monitor", pid);
    // Started without the lock; only the reference is stored under it.
    sp<HandleThread> thread = new HandleThread(this);
    runHandleThread(thread, "cancel_monitor");
    MutexLock lock(mLock);
    mHandleThread = thread;
    return 0;
}

kavel::MonitorStatus KavelAnrRecoveryMonitor::status() {
    constexpr std::chrono::milliseconds kPause(1);
    kavel::MonitorStatus status;
    for (int attempt = 0; attempt < 100; ++attempt) {
        if (!mLock.tryLock()) {
            std::this_thread::sleep_for(kPause);
            continue;
        }
        const auto copy = [](const Messages& from, std::vector<kavel::WatchStatus>* to) {
            for (const Message& message : from) {
                if (to->size() < kMaxWatchThreads) {
                    to->push_back({message.pid, message.monitorThreadName});
                }
            }
        };
        copy(mRequestList, &status.requests);
        copy(mMonitorList, &status.watches);
        copy(mCancelList, &status.cancels);
        status.runningThreads = mRunningWatches.size();
        mLock.unlock();
        return status;
    }
    status.isBusy = true;
    return status;
}

bool KavelAnrRecoveryMonitor::HandleThread::threadLoop() {
    mMonitor->serveRequests();
    return false;
}

void KavelAnrRecoveryMonitor::serveRequests() {
    MutexLock lock(mLock);
    while (!mRequestList.empty()) {
        const Message request = std::move(mRequestList.front());
        mRequestList.pop_front();
        if (request.state == kCancel) {
            cancelLocked(request);
        } else {
            startWatchLocked(request);
        }
    }
}

void KavelAnrRecoveryMonitor::cancelLocked(const Message& request) {
    const auto watch = std::find_if(mMonitorList.begin(), mMonitorList.end(),
                                    [&](const Message& one) { return one.pid == request.pid; });
    if (watch == mMonitorList.end()) {
        KAVEL_LOGE(KAVEL_NO_TAG,
                   "[KavelAnrRecoveryMonitor::HandleThread::threadLoop]: cancel invalid pid(%d).",
                   request.pid);
        return;
    }
    moveToCancelsLocked(watch, std::next(watch));
    KAVEL_LOGI(KAVEL_NO_TAG, "[KavelAnrRecoveryMonitor::HandleThread::threadLoop]: cancel pid %d",
               request.pid);
}

void KavelAnrRecoveryMonitor::moveToCancelsLocked(Messages::iterator first,
                                                  Messages::iterator last) {
    mCancelList.splice(mCancelList.end(), mMonitorList, first, last);
    dropSurplusCancelsLocked();
    countWatchesLocked();
}

void KavelAnrRecoveryMonitor::dropSurplusCancelsLocked() {
    auto free = mRunningWatches;
    mCancelList.remove_if([&free](const Message& cancel) {
        const auto watch = free.find({cancel.pid, cancel.monitorThreadName});
        if (watch == free.end()) return true;
        free.erase(watch);
        return false;
    });
}

void KavelAnrRecoveryMonitor::endWatch(const MonitorThread& thread) {
    MutexLock lock(mLock);
    const auto watch = mRunningWatches.find({thread.pid(), thread.name()});
    if (watch != mRunningWatches.end()) mRunningWatches.erase(watch);
    dropSurplusCancelsLocked();
}

void KavelAnrRecoveryMonitor::startWatchLocked(const Message& request) {
    if (request.monitorThreadName == kAnrWatch) {
        runMonitorThreadLocked(request, &mMonitorThread, "THREAD_NAME");
    } else if (request.monitorThreadName == kUserRequestWatch) {
        runMonitorThreadLocked(request, &mUserRequestMonitorThread, "THREAD_NAME_USER_REQUEST");
    } else {
        KAVEL_LOGE(KAVEL_NO_TAG,
                   "[KavelAnrRecoveryMonitor::HandleThread::threadLoop]: invalid Thread name(%s)",
                   request.monitorThreadName.c_str());
    }
}

void KavelAnrRecoveryMonitor::runMonitorThreadLocked(const Message& request,
                                                     sp<MonitorThread>* reference,
                                                     const char* kind) {
    if (mRunningWatches.size() >= kMaxWatchThreads) {
        KAVEL_LOGE(KAVEL_NO_TAG,
                   "[KavelAnrRecoveryMonitor::HandleThread::threadLoop]: %zu watches still run, "
                   "none for %d",
                   kMaxWatchThreads, request.pid);
        return;
    }
    const char* const name = request.monitorThreadName.c_str();
    *reference = new MonitorThread(this, name, request.pid);
    const status_t status = (*reference)->run(name, 0, 0);
    if (status != OK) {
        KAVEL_LOGE(KAVEL_NO_TAG,
                   "[KavelAnrRecoveryMonitor::HandleThread::threadLoop]: no thread to watch %d: %d",
                   request.pid, status);
        return;
    }
    // The thread reads both lists under the lock, so it finds its entries.
    mRunningWatches.insert({request.pid, request.monitorThreadName});
    mMonitorList.push_back(request);
    countWatchesLocked();
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[KavelAnrRecoveryMonitor::HandleThread::threadLoop]: new %s for %d, monitor_list "
               "size:%d",
               kind, request.pid, static_cast<int>(mMonitorList.size()));
}

}  // namespace android
