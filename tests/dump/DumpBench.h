#pragma once

#include <cstdlib>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "dump/DumpContext.h"
#include "event/KavelTimestamp.h"
#include "platform/Mutex.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProperties.h"
#include "tests/fake/FakeShell.h"
#include "tests/fake/FakeTime.h"
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

    /**
     * @param run          runs a command and returns its wait status
     * @param beforeSleep  what a thread does ahead of each sleep
     */
    explicit DumpBench(
            std::function<int(const std::string&)> run,
            const std::function<void()>& beforeSleep = [] {})
          : mRun(std::move(run)) {
        setenv("TZ", "UTC", 1);
        fake::captureLog();
        fake::resetTime(kScriptStartUs);
        fake::takePropertySets();
        fake::resetShell([this](const std::string& command) { return onCommand(command); });
        fake::onSleep([this, beforeSleep](uint64_t seconds) {
            settle();
            {
                MutexLock lock(mLock);
                endLinesLocked();
                addLineLocked("sleep " + std::to_string(seconds));
            }
            beforeSleep();
        });
        for (int worker = 1; worker < 10; ++worker) {
            std::promise<void> started;
            mContext.cmdPool.commit([&] {
                started.set_value();
                mReleased.wait();
            });
            started.get_future().wait();
        }
        const auto setPrefix = [this](const char* prefix) {
            MutexLock lock(mLock);
            mPrefixes[std::this_thread::get_id()] = prefix;
        };
        mContext.cmdPool.commit(setPrefix, "cmd: ").wait();  // the tenth worker
        mContext.logcatPool.commit(setPrefix, "logcat: ").wait();
        setPrefix("");
        fake::clearLog();
    }
    ~DumpBench() {
        settle();
        mRelease.set_value();
        fake::resetShell();
        fake::onSleep(nullptr);
    }
    DumpBench(const DumpBench&) = delete;
    DumpBench& operator=(const DumpBench&) = delete;

    DumpContext& context() { return mContext; }
    /** A catch of an event that arrived now, in @p folder if given. Record 77 has process 4711. */
    CatchRef add(int64_t eventId, uint32_t logInfo, const KavelExtraInfo& extra = {},
                 int32_t recordId = kRecordId, const std::string& folder = "") {
        const KavelTimestamp now = generateKavelTimestamp();
        const int pid = 4711 - kRecordId + recordId;
        const auto event = std::make_shared<KavelEvent>(eventId, &now, static_cast<int>(logInfo),
                                                        pid, 10042, &extra);
        event->kavelEventId = recordId;
        CatchRef added = mContext.catches.add(event);
        if (!folder.empty()) added->setFolder(std::make_shared<LogFolder>(folder));
        return added;
    }
    /** Waits until every task that was committed has ended. */
    void settle() {
        mContext.logcatPool.commit([] {}).wait();
        mContext.cmdPool.commit([] {}).wait();
    }
    /**
     * Settles; then what has happened since the last call. The lines of the calling thread come
     * first; those of the pools begin with "cmd: " and "logcat: ", of other threads with "other: ".
     *
     * "I TEXT", "I TAG: TEXT"  a log line with its priority; "\" at its end: it has no newline
     * "$SECONDS COMMAND"       a command with its deadline; "$SECONDS/MIB" if it has a file limit
     * "{NAME" and "}"          begin and end of a trace section
     * "sleep N", "property NAME=VALUE"
     */
    std::string takeTranscript() {
        settle();
        MutexLock lock(mLock);
        endLinesLocked();
        return std::exchange(mTranscript, "");
    }

  private:
    int onCommand(const std::string& command) {
        {
            MutexLock lock(mLock);
            copyLogLocked();
            const auto [deadline, fileSize] = fake::shellLimits();
            std::string limits = "$" + std::to_string(deadline / std::chrono::seconds(1));
            if (fileSize != 0) limits += "/" + std::to_string(fileSize >> 20U);
            addLineLocked(limits + " " + command);
        }
        return mRun(command);
    }
    void endLinesLocked() REQUIRES(mLock) {
        copyLogLocked();
        for (const auto& [prefix, lines] : std::exchange(mLines, {})) mTranscript += lines;
    }
    void copyLogLocked() REQUIRES(mLock) {
        for (const fake::LogLine& line : fake::drainLog()) {
            std::string text = fake::shown(line);
            if (text[0] == 'V') text.erase(0, 2);  // of a trace section
            const bool hasNewline = text.back() == '\n';
            addLineLocked(hasNewline ? text.substr(0, text.size() - 1) : text + "\\", line.thread);
        }
        for (const auto& [key, value] : fake::takePropertySets()) {
            addLineLocked("property " + key + "=" + value);
        }
    }
    void addLineLocked(const std::string& line, std::thread::id thread = std::this_thread::get_id())
            REQUIRES(mLock) {
        const auto known = mPrefixes.find(thread);
        const std::string prefix = known == mPrefixes.end() ? "other: " : known->second;
        mLines[prefix] += prefix + replaced(line, "\n", "\\n") + "\n";
    }

    const std::function<int(const std::string&)> mRun;
    std::promise<void> mRelease;
    const std::shared_future<void> mReleased = mRelease.get_future().share();

    Mutex mLock;
    std::map<std::thread::id, std::string> mPrefixes GUARDED_BY(mLock);
    std::map<std::string, std::string> mLines GUARDED_BY(mLock);  // by prefix
    std::string mTranscript GUARDED_BY(mLock);

    EventParameters mParameters;
    DumpContext mContext{mParameters};  // last: its threads use the others
};

}  // namespace android::kavel::test
