#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "dump/CommercialNotes.h"
#include "dump/LogFolder.h"
#include "event/KavelEvent.h"
#include "event/ReportJournal.h"
#include "platform/Mutex.h"

namespace android::kavel {

struct DumpContext;

/** What a catch does now. */
enum class CatchPhase : uint8_t {
    FirstRound,
    Window,            ///< until the second round
    SecondRound,       ///< of the streaming logs
    AwaitingBits,      ///< the pack waits for commands to confirm their bits
    AwaitingCommands,  ///< the pack waits for commands that are late
    Packing,
    Kept,           ///< technical event; waits for an abnormal action
    AwaitingFiles,  ///< hang warning; waits for the multimedia tooling
};

/** Returns the name of the phase, for people and tools. */
const char* phaseText(CatchPhase phase);

/** Snapshot of one catch. */
struct CatchStatus {
    EventRef event;
    CatchPhase phase = CatchPhase::FirstRound;
    std::chrono::milliseconds age{};                ///< since the catch began
    std::optional<std::chrono::milliseconds> left;  ///< until the end of the phase, if known
    uint32_t missingBits = 0;                       ///< not confirmed, but can be
    std::string folder;                             ///< path; empty if it has none
    std::vector<OpenWork>
            work;  ///< in the folder, oldest first; only once for catches that share it
};

/** Collection of the logs of one event. Lives as long as a dump thread or a command holds it. */
class Catch {
  public:
    Catch(EventRef record, DumpContext& dumpContext)
          : event(std::move(record)), context(dumpContext) {}

    const EventRef event;
    DumpContext& context;
    CommercialNotes commercial;

    /** Returns the folder for the logs of the catch; null if it has none yet. */
    LogFolderRef folder() const {
        MutexLock lock(mLock);
        return mFolder;
    }
    void setFolder(LogFolderRef folder) {
        if (folder != nullptr) ReportJournal::instance().setFolder(*event, folder->path());
        MutexLock lock(mLock);
        mFolder = std::move(folder);
    }

    /** Notes the phase, and the time until its end if that is known. */
    void enter(CatchPhase phase, std::optional<std::chrono::seconds> length = {});
    /**
     * Notes that the catch ends without an archive. Only the first call counts; the others return
     * false.
     */
    bool fail(Fate fate, const std::string& detail = "");
    /**
     * Notes that the folder cannot be used, with one error line for all threads of the catch.
     *
     * @param prefix    start of the line, up to its ": "
     * @param ifPacked  fate if others have packed the folder
     */
    void failWithoutFolder(const char* prefix, Fate ifPacked);
    CatchStatus status() const;

    /** Marks the first round as begun: from now on it is work of the folder. */
    void beginFirstRound() {
        MutexLock lock(mLock);
        mHasBegun = true;
        mBegun.notify_all();
    }
    bool hasBegun() const {
        MutexLock lock(mLock);
        return mHasBegun;
    }
    /** Waits until the first round has begun, for at most @p patience. */
    void awaitFirstRound(std::chrono::milliseconds patience) {
        const auto end = std::chrono::steady_clock::now() + patience;
        MutexLock lock(mLock);
        while (!mHasBegun && lock.waitUntil(mBegun, end)) {
        }
    }

  private:
    mutable Mutex mLock;
    std::condition_variable mBegun;
    LogFolderRef mFolder GUARDED_BY(mLock);
    bool mHasBegun GUARDED_BY(mLock) = false;
    bool mHasFailed GUARDED_BY(mLock) = false;
    CatchPhase mPhase GUARDED_BY(mLock) = CatchPhase::FirstRound;
    std::optional<std::chrono::steady_clock::time_point> mPhaseEnd GUARDED_BY(mLock);
    const std::chrono::steady_clock::time_point mSince = std::chrono::steady_clock::now();
};

using CatchRef = std::shared_ptr<Catch>;

/**
 * The running catches, by record id. An entry is removed with its catch, so the table is empty if
 * nothing is being caught. Must outlive its catches. Any thread; leaf lock.
 */
class CatchTable {
  public:
    /** @param context  passed to each catch; must outlive them all */
    explicit CatchTable(DumpContext& context) : mContext(context) {}

    /** Adds a catch for @p event, or returns the one that the record already has. */
    CatchRef add(const EventRef& event);
    /** Returns the catch of that record, or null. */
    CatchRef find(int32_t kavelEventId) const;
    /** Returns the @p limit newest catches, oldest first, and stores the number of all. */
    std::vector<CatchStatus> status(size_t limit, size_t* count) const;

  private:
    void remove(const Catch& ended);

    DumpContext& mContext;
    mutable Mutex mLock;
    std::map<int32_t, std::weak_ptr<Catch>> mCatches GUARDED_BY(mLock);
};

}  // namespace android::kavel
