// A panic of the simulated phone: writes a record and shuts the phone down in order. Never opens
// the machine's own trigger file.

#include "platform/SysrqTrigger.h"

#include <android-base/file.h>
#include <android-base/properties.h>
#include <android/log.h>

#include <cerrno>
#include <cstring>

namespace android::kavel {
namespace {

constexpr char kTag[] = "kernel";
constexpr char kRecord[] = "/data/persist_log/panic_recorded";

}  // namespace

bool triggerKernelPanic() {
    if (!base::WriteStringToFile("Kernel panic - not syncing: sysrq triggered crash\n", kRecord)) {
        __android_log_print(ANDROID_LOG_ERROR, kTag, "no panic: %s: %s", kRecord, strerror(errno));
        return false;
    }
    __android_log_print(ANDROID_LOG_FATAL, kTag,
                        "simulated panic, recorded in %s: the phone goes down", kRecord);
    if (!base::SetProperty("sys.powerctl", "shutdown,panic")) {
        __android_log_write(ANDROID_LOG_ERROR, kTag,
                            "init does not answer: the phone keeps running");
    }
    return true;
}

}  // namespace android::kavel
