#include "host/phone/FrameworkService.h"

#include <android-base/file.h>
#include <android-base/stringprintf.h>
#include <android/log.h>
#include <binder/Parcel.h>
#include <inttypes.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <string>

#include "host/phone/ArtTrace.h"

namespace android::kavel::host {
namespace {

constexpr char kTag[] = "KavelManager";

/** Request codes of android.os.IKavelManager that the daemon uses. */
enum Request : uint32_t {
    DUMP_ANR_TRACE = 2,
    DUMP_SYSTEM_TRACE = 7,
    RECOVER_ANR = 8,
};

std::string timeText() {
    const time_t now = time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    char text[32];
    static_cast<void>(strftime(text, sizeof(text), "%Y-%m-%d-%H-%M-%S", &local));
    return text;
}

int32_t writeDump(const std::string& path, const std::string& content) {
    if (base::WriteStringToFile(content, path)) {
        __android_log_print(ANDROID_LOG_INFO, kTag, "wrote %s", path.c_str());
        return 0;
    }
    __android_log_print(ANDROID_LOG_ERROR, kTag, "%s: %s", path.c_str(), strerror(errno));
    return -1;
}

int32_t dumpAnrTrace(int32_t pid) {
    const std::string now = timeText();
    // One file is the process's own dump at the time of the hang, the other is the requested dump.
    const std::string own = base::StringPrintf("/data/anr/trace_anr_%s_%d", now.c_str(), pid);
    const std::string requested =
            base::StringPrintf("/data/anr/kavel_DumpTraces_%d_%s", pid, now.c_str());
    std::string stacks;
    if (!writeArtTrace(own, std::to_string(pid) + " system_server") ||
        !base::ReadFileToString(own, &stacks)) {
        __android_log_print(ANDROID_LOG_ERROR, kTag, "cannot write %s", own.c_str());
        return -1;
    }
    __android_log_print(ANDROID_LOG_INFO, kTag, "wrote %s", own.c_str());
    return writeDump(requested, stacks);
}

int32_t dumpSystemTrace() {
    const std::string now = timeText();
    return writeDump("/data/persist_log/PLX/de/kavel/dravo-trace-" + now,
                     "# tracer: nop (simulated phone, " + now + ")\n");
}

}  // namespace

FrameworkService::FrameworkService() : mDescriptor("android.os.IKavelManager") {}

status_t FrameworkService::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                      uint32_t flags) {
    if (code != DUMP_ANR_TRACE && code != DUMP_SYSTEM_TRACE && code != RECOVER_ANR) {
        return BBinder::onTransact(code, data, reply, flags);
    }
    CHECK_INTERFACE(FrameworkService, data, reply);
    int32_t pid = 0;
    int64_t eventId = 0;
    if (code != DUMP_SYSTEM_TRACE) {
        const status_t status = data.readInt32(&pid);
        if (status != OK) return status;
    }
    if (code == RECOVER_ANR) {
        const status_t status = data.readInt64(&eventId);
        if (status != OK) return status;
    }
    __android_log_print(ANDROID_LOG_INFO, kTag, "request %u pid %d event 0x%" PRIx64, code, pid,
                        static_cast<uint64_t>(eventId));
    int32_t result = 0;
    if (code == DUMP_ANR_TRACE) result = dumpAnrTrace(pid);
    if (code == DUMP_SYSTEM_TRACE) result = dumpSystemTrace();
    return reply != nullptr ? reply->writeInt32(result) : static_cast<status_t>(OK);
}

}  // namespace android::kavel::host
