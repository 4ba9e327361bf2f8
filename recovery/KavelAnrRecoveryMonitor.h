#pragma once

#include <atomic>
#include <cstdint>
#include <list>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <utils/RefBase.h>
#include <utils/Singleton.h>
#include <utils/Thread.h>

#include "platform/Mutex.h"

namespace android {

namespace kavel {

/** One entry of the recovery monitor's lists. */
struct WatchStatus {
    int32_t pid;
    std::string kind;  ///< name of the watch; empty for a cancel
};

/** Snapshot of the recovery monitor. */
struct MonitorStatus {
    /** The lists could not be read: an escalation is going on and holds their lock. */
    bool isBusy = false;
    std::vector<WatchStatus> requests;
    std::vector<WatchStatus> watches;
    std::vector<WatchStatus> cancels;
    size_t runningThreads = 0;  ///< of watches, in the list or cancelled
};

}  // namespace kavel

/** Identity of a watched process; all zero if the process could not be read. */
struct proc_t {
    int32_t pid;
    int64_t uid;
};

/**
 * Watches processes that do not respond. After its waiting time, a watch checks whether the same
 * process still exists. If so, the recovery has failed: if the test package is being recovered, the
 * framework is restarted, and if that does not help, the kernel is crashed. A cancel ends a watch
 * without any action.
 *
 * Requests are queued and served by threads that end when the queue is empty. The lock is held
 * while a failed recovery is escalated, and all other requests wait, so there is only one
 * escalation at a time. Created on first use, never destroyed, so its threads may outlive their
 * callers. Any thread.
 */
class KavelAnrRecoveryMonitor : public Singleton<KavelAnrRecoveryMonitor> {
  public:
    struct Message {
        int32_t pid;
        int32_t state;                  ///< 1: watch, 0: cancel
        std::string monitorThreadName;  ///< kind of watch; empty for a cancel
    };

    /** Serves the queued requests, then ends. */
    class HandleThread : public Thread {
      public:
        explicit HandleThread(KavelAnrRecoveryMonitor* monitor)
              : Thread(/*canCallJava=*/false), mMonitor(monitor) {}

      private:
        bool threadLoop() override;

        KavelAnrRecoveryMonitor* const mMonitor;
    };

    /** Watches one process. */
    class MonitorThread : public Thread {
      public:
        MonitorThread(KavelAnrRecoveryMonitor* monitor, const char* name, int pid)
              : Thread(/*canCallJava=*/false), mMonitor(monitor), mName(name), mPid(pid) {}

        const std::string& name() const { return mName; }
        int pid() const { return mPid; }

      private:
        bool threadLoop() override;

        KavelAnrRecoveryMonitor* const mMonitor;
        const std::string mName;
        const int mPid;
    };

    /**
     * Queues a watch of @p pid: for 5 s if the user asked to close the application, otherwise for
     * 30 s. Returns 0, or -1 if the pid is invalid or too many processes are watched.
     */
    int monitor(int pid, bool userRequest) EXCLUDES(mLock);
    int close_user_request(int pid) { return monitor(pid, true); }
    /** Queues a cancel. When it is served, it ends the first watch of @p pid in the list. */
    int cancel_monitor(int pid) EXCLUDES(mLock);

    /** Body of the MonitorThread @p thread. Returns false if the process could not be read. */
    bool handle_anr_recovery(void* thread, long timeoutSeconds) EXCLUDES(mLock);
    /**
     * Fills @p out. Returns null, with @p out all zero, if the process or its user cannot be read.
     */
    static proc_t* read_proc_stat(int pid, proc_t* out);
    /** Whether the same process exists after the wait, which means that its recovery has failed. */
    static bool isReboot(const proc_t* before, const proc_t* after);

    /** Whether the test package is being recovered. Only then is a failed recovery escalated. */
    void setAnrTesting(bool testing) { mIsKavelAnrTesting = testing; }
    bool isAnrTesting() const { return mIsKavelAnrTesting; }

    /** Waits for the lists for a tenth of a second at most. */
    kavel::MonitorStatus status() EXCLUDES(mLock);

  private:
    friend class Singleton<KavelAnrRecoveryMonitor>;
    using Messages = std::list<Message>;

    KavelAnrRecoveryMonitor() = default;

    void serveRequests() EXCLUDES(mLock);
    void cancelLocked(const Message& request) REQUIRES(mLock);
    void moveToCancelsLocked(Messages::iterator first, Messages::iterator last) REQUIRES(mLock);
    /** Drops cancels without a running watch: they would end a later watch. */
    void dropSurplusCancelsLocked() REQUIRES(mLock);
    void endWatch(const MonitorThread& thread) EXCLUDES(mLock);
    void startWatchLocked(const Message& request) REQUIRES(mLock);
    void runMonitorThreadLocked(const Message& request, sp<MonitorThread>* reference,
                                const char* kind) REQUIRES(mLock);
    Messages::iterator findWatchLocked(Messages& list, const MonitorThread& thread) REQUIRES(mLock);
    bool takeCancelLocked(const MonitorThread& thread) REQUIRES(mLock);
    void escalateLocked() REQUIRES(mLock);
    void retireLocked(const MonitorThread& thread) REQUIRES(mLock);
    void countWatchesLocked() REQUIRES(mLock) { mWatchCount = mMonitorList.size(); }

    std::atomic<bool> mIsKavelAnrTesting{false};
    kavel::Mutex mLock;
    Messages mRequestList GUARDED_BY(mLock);
    Messages mMonitorList GUARDED_BY(mLock);
    Messages mCancelList GUARDED_BY(mLock);
    // A running thread holds a reference to itself. These hold the latest thread of each kind
    // longer. The release of the last reference, even by the thread itself, destroys the object.
    sp<HandleThread> mHandleThread GUARDED_BY(mLock);
    sp<MonitorThread> mUserRequestMonitorThread GUARDED_BY(mLock);
    sp<MonitorThread> mMonitorThread GUARDED_BY(mLock);
    std::atomic<size_t> mWatchCount{0};  // size of mMonitorList, readable without the lock
    /** Pid and name of each watch whose thread is running, in the list or cancelled. */
    std::multiset<std::pair<int32_t, std::string>> mRunningWatches GUARDED_BY(mLock);
};

namespace kavel {

// Kinds of watches; also the names of their threads.
inline constexpr const char* kAnrWatch = "KavelAnrRecoveryMonitor";
inline constexpr const char* kUserRequestWatch = "KavelAnrRecoveryMonitorUserRequest";

}  // namespace kavel
}  // namespace android
