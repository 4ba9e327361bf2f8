#include "dump/CatchTable.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

#include <log/log.h>

#include "dump/LogCommands.h"
#include "platform/KavelPrint.h"

namespace android::kavel {

const char* phaseText(CatchPhase phase) {
    static constexpr const char* kTexts[] = {
            "first round",
            "window",
            "second round",
            "waiting for bits",
            "waiting for late commands",
            "packing",
            "kept for an abnormal action",
            "waiting for hang files",
    };
    return kTexts[static_cast<size_t>(phase)];
}

void Catch::enter(CatchPhase phase, std::optional<std::chrono::seconds> length) {
    MutexLock lock(mLock);
    mPhase = phase;
    mPhaseEnd.reset();
    if (length) mPhaseEnd = std::chrono::steady_clock::now() + *length;
}

bool Catch::fail(Fate fate, const std::string& detail) {
    {
        MutexLock lock(mLock);
        if (std::exchange(mHasFailed, true)) return false;
    }
    ReportJournal::instance().note(fate, *event, detail);
    return true;
}

void Catch::failWithoutFolder(const char* prefix, Fate ifPacked) {
    const LogFolderRef used = folder();
    const std::string path = used == nullptr ? "" : used->path();
    const bool isPacked = used != nullptr && used->isClosed();
    const bool isFull = !isPacked && isDiskFull(path);
    const Fate fate = isPacked ? ifPacked : isFull ? Fate::DiskFull : Fate::NoFolder;
    const std::string problem = isPacked ? "was packed before" : "is missing or no folder";
    if (!fail(fate, "'" + path + "' " + problem)) return;
    kavel_print(LOG_ID_MAIN, ANDROID_LOG_ERROR, "%s: no folder for %s%s: '%s' %s\n", prefix,
                eventText(*event).c_str(), isFull ? ", the disk is full" : "", path.c_str(),
                problem.c_str());
}

CatchStatus Catch::status() const {
    using std::chrono::milliseconds;
    const auto now = std::chrono::steady_clock::now();
    CatchStatus status;
    status.event = event;
    status.age = std::chrono::duration_cast<milliseconds>(now - mSince);
    status.missingBits =
            collectableBits(static_cast<uint32_t>(event->logInfo)) & ~event->collected.load();
    LogFolderRef folder;
    {
        MutexLock lock(mLock);
        folder = mFolder;
        status.phase = mPhase;
        if (mPhaseEnd) {
            const auto left = std::chrono::ceil<milliseconds>(*mPhaseEnd - now);
            status.left = std::max(left, milliseconds(0));
        }
    }
    if (folder != nullptr) {
        status.folder = folder->path();
        status.work = folder->work();
    }
    return status;
}

CatchRef CatchTable::add(const EventRef& event) {
    CatchRef added(new Catch(event, mContext), [this](Catch* ended) {
        // The record is alive until the entry is removed, so no other record has its id.
        remove(*ended);
        if (!ended->hasBegun()) ended->fail(Fate::Ended, "it has not started");
        delete ended;
    });
    CatchRef present;  // like `added`, destroyed without the lock, which the end of a catch takes
    {
        MutexLock lock(mLock);
        std::weak_ptr<Catch>& entry = mCatches[event->kavelEventId];
        present = entry.lock();
        if (present != nullptr && present->event == event) return present;
        entry = added;
    }
    ReportJournal::instance().note(Fate::Caught, *event);
    return added;
}

CatchRef CatchTable::find(int32_t kavelEventId) const {
    MutexLock lock(mLock);
    const auto entry = mCatches.find(kavelEventId);
    return entry == mCatches.end() ? nullptr : entry->second.lock();
}

std::vector<CatchStatus> CatchTable::status(size_t limit, size_t* count) const {
    std::vector<CatchRef> running;  // destroyed without the lock, which the end of a catch takes
    {
        MutexLock lock(mLock);
        for (const auto& [id, entry] : mCatches) {
            if (CatchRef one = entry.lock()) running.push_back(std::move(one));
        }
    }
    *count = running.size();
    const auto newer = [](const CatchRef& left, const CatchRef& right) {
        return left->event->timestamp.realtimeNs > right->event->timestamp.realtimeNs;
    };
    const auto end = running.begin() + static_cast<std::ptrdiff_t>(std::min(limit, running.size()));
    std::partial_sort(running.begin(), end, running.end(), newer);
    std::reverse(running.begin(), end);
    std::vector<CatchStatus> statuses;
    std::set<std::string> folders;
    std::transform(running.begin(), end, std::back_inserter(statuses), [&](const CatchRef& one) {
        CatchStatus status = one->status();
        if (!folders.insert(status.folder).second) status.work.clear();
        return status;
    });
    return statuses;
}

void CatchTable::remove(const Catch& ended) {
    MutexLock lock(mLock);
    const auto entry = mCatches.find(ended.event->kavelEventId);
    // An entry that has not expired belongs to a later catch with the same id.
    if (entry != mCatches.end() && entry->second.expired()) mCatches.erase(entry);
}

}  // namespace android::kavel
