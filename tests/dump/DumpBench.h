#pragma once

#include <functional>
#include <future>
#include <map>
#include <memory>
#include <string>
#include <thread>

#include "dump/DumpContext.h"
#include "platform/Mutex.h"
#include "tests/fake/Series.h"

namespace android::kavel::test {

/**
 * A fresh dump context with fake shell and time, and a transcript of what all threads do. One at a
 * time.
 *
 * All cmd workers but one are kept busy, so that the pool runs its tasks one by one in the order of
 * submission; before each sleep the pools are let run dry. So a catch that is driven on the calling
 * thread has one possible transcript only.
 */
class DumpBench {
  public:
    static constexpr int32_t kRecordId = 77;
    static constexpr int64_t kStartUs = kScriptStartUs;

    /**
     * @param run          runs a command and returns its wait status; by default nothing runs
     * @param beforeSleep  what a thread does ahead of each sleep
     */
    explicit DumpBench(std::function<int(const std::string&)> run = nullptr,
                       std::function<void()> beforeSleep = nullptr);
    ~DumpBench();
    DumpBench(const DumpBench&) = delete;
    DumpBench& operator=(const DumpBench&) = delete;

    DumpContext& context() { return *mContext; }
    /** A catch of an event that arrived now, in @p folder if given. Record 77 has process 4711. */
    CatchRef add(int64_t eventId, uint32_t logInfo, const KavelExtraInfo& extra = {},
                 int32_t recordId = kRecordId, const std::string& folder = "");
    /** Waits until every task that was committed has ended. */
    void settle();
    /**
     * Settles; then what has happened since the last call. The lines of the calling thread come
     * first; those of the pools begin with "cmd: " and "logcat: ", of other threads with "other: ".
     *
     * "I TEXT", "I TAG: TEXT"  a log line with its priority; "\" at its end: it has no newline
     * "$SECONDS COMMAND"       a command with its deadline; "$SECONDS/MIB" if it has a file limit
     * "{NAME" and "}"          begin and end of a trace section
     * "sleep N", "property NAME=VALUE"
     */
    std::string takeTranscript();

  private:
    int onCommand(const std::string& command);
    void onSleep(uint64_t seconds);
    void copyLogLocked() REQUIRES(mLock);
    void addLineLocked(std::thread::id thread, std::string line) REQUIRES(mLock);

    const std::function<int(const std::string&)> mRun;
    const std::function<void()> mBeforeSleep;
    EventParameters mParameters;
    std::unique_ptr<DumpContext> mContext;
    std::promise<void> mRelease;

    Mutex mLock;
    std::map<std::thread::id, std::string> mPrefixes GUARDED_BY(mLock);
    std::map<std::string, std::string> mLines GUARDED_BY(mLock);  // by prefix
    std::string mTranscript GUARDED_BY(mLock);
};

}  // namespace android::kavel::test
