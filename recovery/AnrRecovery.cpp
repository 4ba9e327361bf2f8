// The body of a watch: waits, checks the process again, and escalates a failed recovery.

#include <algorithm>
#include <charconv>
#include <chrono>
#include <memory>
#include <new>
#include <optional>
#include <string_view>

#include <android-base/properties.h>

#include "platform/Log.h"
#include "platform/ProcFs.h"
#include "platform/PropertyWait.h"
#include "platform/Sleep.h"
#include "recovery/KavelAnrRecoveryMonitor.h"
#include "recovery/RecoveryActions.h"

namespace android {

using kavel::MutexLock;

namespace {

constexpr long kWatchSeconds = 30;
constexpr long kUserRequestSeconds = 5;
constexpr std::chrono::milliseconds kBootTimeout(300000);
constexpr const char* kBootCompleted = "sys.dravo.boot_completed";
constexpr size_t kStatusSize = 4096;

/**
 * Returns the real user id from the text of a process's status file: the first number of its "Uid:"
 * line. Returns nullopt if there is no such line or number.
 */
std::optional<int64_t> uidOf(std::string_view status) {
    constexpr std::string_view kKey = "Uid:";
    while (status.substr(0, kKey.size()) != kKey) {
        const size_t end = status.find('\n');
        if (end == std::string_view::npos) return std::nullopt;
        status.remove_prefix(end + 1);
    }
    status.remove_prefix(kKey.size());
    status.remove_prefix(std::min(status.find_first_not_of(" \t"), status.size()));
    int64_t uid = -1;
    std::from_chars(status.data(), status.data() + status.size(), uid);
    return uid < 0 ? std::nullopt : std::optional(uid);
}

}  // namespace

bool KavelAnrRecoveryMonitor::MonitorThread::threadLoop() {
    if (mMonitor == nullptr) {
        KAVEL_LOGE(KAVEL_NO_TAG,
                   "[KavelAnrRecoveryMonitor::MonitorThread::threadLoop]: monitor err.");
        return false;
    }
    if (mName == kavel::kAnrWatch) {
        mMonitor->handle_anr_recovery(this, kWatchSeconds);
    } else if (mName == kavel::kUserRequestWatch) {
        mMonitor->handle_anr_recovery(this, kUserRequestSeconds);
    }
    mMonitor->endWatch(*this);
    return false;
}

bool KavelAnrRecoveryMonitor::handle_anr_recovery(void* thread, long timeoutSeconds) {
    const MonitorThread& self = *static_cast<const MonitorThread*>(thread);
    const std::unique_ptr<proc_t[]> records(new (std::nothrow) proc_t[2]());
    if (records == nullptr) {
        KAVEL_LOGE(KAVEL_NO_TAG, "[KavelAnrRecoveryMonitor::handle_anr_recovery]: calloc failed.");
        return false;
    }
    proc_t* const before = &records[0];
    proc_t* const after = &records[1];
    if (read_proc_stat(self.pid(), before) == nullptr) {
        // The watch stays in the list until it is cancelled.
        KAVEL_LOGE(KAVEL_NO_TAG,
                   "[KavelAnrRecoveryMonitor::handle_anr_recovery]: read A proc failed.");
        return false;
    }
    kavel::sleepSeconds(static_cast<uint64_t>(timeoutSeconds));
    read_proc_stat(before->pid, after);  // all zero if the process is gone
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[KavelAnrRecoveryMonitor::handle_anr_recovery]: monitor timeout(%ld).",
               timeoutSeconds);

    MutexLock lock(mLock);
    if (takeCancelLocked(self)) return true;
    if (isReboot(before, after)) escalateLocked();
    retireLocked(self);
    return true;
}

KavelAnrRecoveryMonitor::Messages::iterator KavelAnrRecoveryMonitor::findWatchLocked(
        Messages& list, const MonitorThread& thread) {
    return std::find_if(list.begin(), list.end(), [&](const Message& message) {
        return message.pid == thread.pid() && message.monitorThreadName == thread.name();
    });
}

bool KavelAnrRecoveryMonitor::takeCancelLocked(const MonitorThread& thread) {
    const auto cancel = findWatchLocked(mCancelList, thread);
    if (cancel == mCancelList.end()) return false;
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[KavelAnrRecoveryMonitor::handle_anr_recovery]: monitoring has been cancelled "
               "pid(%d),name(%s).",
               thread.pid(), thread.name().c_str());
    mCancelList.erase(cancel);
    return true;
}

void KavelAnrRecoveryMonitor::escalateLocked() {
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[KavelAnrRecoveryMonitor::handle_anr_recovery]: anr process recover failed, goto "
               "ss reboot.");
    // The line is logged in every case, but only a failed recovery of the test package may restart
    // the phone.
    if (!mIsKavelAnrTesting) return;
    base::SetProperty(kBootCompleted, "0");
    kavel::doKavelWmRebootAction();
    if (kavel::waitForProperty(kBootCompleted, "1", kBootTimeout)) return;
    KAVEL_LOGE(KAVEL_NO_TAG,
               "[KavelAnrRecoveryMonitor::handle_anr_recovery]: start reboot recover, ss recover "
               "failed.");
    kavel::doKavelRebootAction();
}

void KavelAnrRecoveryMonitor::retireLocked(const MonitorThread& thread) {
    const auto watch = findWatchLocked(mMonitorList, thread);
    if (watch != mMonitorList.end()) {
        mMonitorList.erase(watch);
    } else {
        KAVEL_LOGE(KAVEL_NO_TAG,
                   "[KavelAnrRecoveryMonitor::handle_anr_recovery]: monitor_list bad list!!!");
        // This cancels all other watches that are waiting.
        moveToCancelsLocked(mMonitorList.begin(), mMonitorList.end());
    }
    countWatchesLocked();
}

proc_t* KavelAnrRecoveryMonitor::read_proc_stat(int pid, proc_t* out) {
    *out = {};
    const std::unique_ptr<char[]> text(new (std::nothrow) char[kStatusSize]);
    if (text == nullptr) {
        KAVEL_LOGE(KAVEL_NO_TAG, "[KavelAnrRecoveryMonitor::read_proc_stat]: alloc mem failed!");
        return nullptr;
    }
    switch (kavel::readProcFile(pid, "status", text.get(), kStatusSize)) {
        case kavel::ProcRead::NotOpened:
            KAVEL_LOGE(KAVEL_NO_TAG,
                       "[KavelAnrRecoveryMonitor::read_proc_stat]: Unable to open /proc/%d/status",
                       pid);
            return nullptr;
        case kavel::ProcRead::NotRead:
            KAVEL_LOGE(KAVEL_NO_TAG,
                       "[KavelAnrRecoveryMonitor::read_proc_stat]: Unable to read /proc/%d/status",
                       pid);
            return nullptr;
        case kavel::ProcRead::Done:
            break;
    }
    const auto uid = uidOf(text.get());
    if (!uid) return nullptr;
    *out = {pid, *uid};
    return out;
}

bool KavelAnrRecoveryMonitor::isReboot(const proc_t* before, const proc_t* after) {
    if (before == nullptr || after == nullptr) {
        KAVEL_LOGI(KAVEL_NO_TAG, "[KavelAnrRecoveryMonitor::isReboot]: args err.");
        return false;
    }
    if (before->pid == 0 && before->uid == 0) {
        // Tools that read the log depend on the words "is not exist".
        KAVEL_LOGI(KAVEL_NO_TAG,
                   "[KavelAnrRecoveryMonitor::isReboot]: anr process recover success for pid is "
                   "not exist.");
        return false;
    }
    if (before->pid == after->pid && before->uid == after->uid) {
        KAVEL_LOGE(KAVEL_NO_TAG, "[KavelAnrRecoveryMonitor::isReboot]: anr process recover failed");
        return true;
    }
    return false;
}

}  // namespace android
