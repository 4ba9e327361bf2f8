#include "core/KavelBinderService.h"

#include <algorithm>
#include <exception>
#include <string>

#include <unistd.h>

#include <android-base/scopeguard.h>
#include <android-base/stringprintf.h>
#include <binder/IPCThreadState.h>
#include <utils/String8.h>

#include "core/DaemonStatus.h"
#include "core/DumpWriter.h"
#include "event/ReportJournal.h"
#include "handler/KavelEventHandler.h"
#include "platform/Log.h"

namespace android {

using kavel::ReportJournal;

namespace {

/**
 * Runs @p call. Returns false if it has thrown an exception. The binder runtime does not catch
 * exceptions, so one would end the daemon. Even the first use of the handler can throw, if there is
 * no memory or no thread.
 */
template <typename Call>
bool guarded(const char* step, long eventId, const Call& call) {
    try {
        call();
        return true;
    } catch (const std::exception& e) {
        KAVEL_LOGE(KAVEL_TAG_BINDER, "[%s]: eventId 0x%lx dropped: %s\n", step, eventId, e.what());
        return false;
    }
}

constexpr uid_t kRoot = 0;
constexpr uid_t kShell = 2000;  // AID_SHELL
constexpr std::chrono::seconds kDumpPatience(5);
/** Maximum number of dumps at once, so that callers that do not read leave threads for reports. */
constexpr int kMaxDumps = 4;

/**
 * These users have android.permission.DUMP. The framework, which knows other holders, is not asked:
 * it may be what hangs.
 */
bool mayDump(uid_t user) {
    return user == kRoot || user == kShell || user == getuid();
}

std::string statusOf(std::chrono::seconds uptime, bool isJson) {
    const kavel::StatusNode tree = kavel::describe(kavel::takeDaemonStatus(uptime));
    return isJson ? kavel::statusJson(tree) : kavel::statusText(tree);
}

bool contains(const Vector<String16>& args, const char* word) {
    return std::any_of(args.begin(), args.end(),
                       [&](const String16& arg) { return arg == String16(word); });
}

}  // namespace

void KavelBinderService::sendFrameworkEvent(long eventId, long timestamp, long logInfo, int pid,
                                            int uid, String16 extraInfo) {
    const std::string extraText = String8(extraInfo).c_str();
    // Tools that read the log depend on the spelling "Framwork".
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bn sendFramworkEvent eventId: 0x%lx", eventId);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bn sendFramworkEvent timestamp: %ld", timestamp);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bn sendFramworkEvent logInfo: 0x%lx", logInfo);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bn sendFramworkEvent pid: %d", pid);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bn sendFramworkEvent uid: %d", uid);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bn sendFramworkEvent extraInfo: %s", extraText.c_str());

    ReportJournal& journal = ReportJournal::instance();
    journal.received(ReportJournal::Source::Framework);
    const bool isHandled = guarded("sendFrameworkEvent", eventId, [&] {
        KavelEventHandler::getInstance().report({eventId, logInfo, pid, uid, extraText});
    });
    if (!isHandled) journal.noteReport(kavel::Fate::Dropped, eventId, "there is no handler");
}

void KavelBinderService::updateEventParams(long eventId, String16 eventName, bool isEnable,
                                           long reportFreq, long /* logInfo: not kept */,
                                           long timeWindow, long recoverId) {
    KAVEL_LOGI(KAVEL_TAG_BINDER,
               "Bn updateEventParams eventId: 0x%lx, isEnable: %d, reportFreq: %ld,timeWindow: "
               "%ld,recoverId: %ld",
               eventId, isEnable, reportFreq, timeWindow, recoverId);
    const bool isStored = guarded("updateEventParams", eventId, [&] {
        kavel::EventParameters& parameters = KavelEventHandler::getInstance().parameters();
        parameters.updateEventParams(eventId, isEnable, reportFreq);
        parameters.setTimeWindow(eventId, timeWindow);
        parameters.setRecoverId(eventId, recoverId);
        parameters.setEventIdMap(recoverId, eventId, String8(eventName).c_str());
    });
    ReportJournal& journal = ReportJournal::instance();
    if (isStored) {
        journal.settingsStored();
    } else {
        journal.settingsRefused();
    }
}

status_t KavelBinderService::dump(int fd, const Vector<String16>& args) {
    const auto slot = base::make_scope_guard([this] { --mDumps; });
    if (++mDumps > kMaxDumps) return WOULD_BLOCK;
    try {
        const IPCThreadState* const caller = IPCThreadState::self();
        if (!mayDump(caller->getCallingUid())) {
            return kavel::writeWithin(
                    fd,
                    base::StringPrintf("Permission Denial: can't dump %s from pid=%d, uid=%d\n",
                                       KAVEL_BINDER_SERVICE_NAME, caller->getCallingPid(),
                                       caller->getCallingUid()),
                    kDumpPatience);
        }
        const auto uptime = std::chrono::duration_cast<std::chrono::seconds>(
                std::chrono::steady_clock::now() - mStart);
        return kavel::writeWithin(fd, statusOf(uptime, contains(args, "--json")), kDumpPatience);
    } catch (const std::exception& e) {
        KAVEL_LOGE(KAVEL_TAG_BINDER, "[dump]: no status: %s\n", e.what());
        return NO_MEMORY;
    }
}

}  // namespace android
