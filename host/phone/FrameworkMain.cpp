// phone_framework: stand-in for the part of the framework that the daemon uses.

#include <android-base/properties.h>
#include <android/log.h>
#include <binder/IPCThreadState.h>
#include <binder/IServiceManager.h>
#include <binder/ProcessState.h>
#include <utils/String16.h>

#include <cstdio>
#include <cstring>

#include "host/phone/FrameworkService.h"

int main(int argc, char** argv) {
    if (argc > 1) {
        const bool help = strcmp(argv[1], "--help") == 0;
        static_cast<void>(
                fputs("Usage: phone_framework\n"
                      "Serves the framework's binder service \"kavel\", then sets "
                      "sys.boot_completed to 1.\n",
                      help ? stdout : stderr));
        return help ? 0 : 2;
    }
    const android::sp<android::kavel::host::FrameworkService> service(
            new android::kavel::host::FrameworkService);
    const android::status_t status =
            android::defaultServiceManager()->addService(android::String16("kavel"), service);
    if (status != android::OK) {
        __android_log_print(ANDROID_LOG_ERROR, "KavelManager", "cannot register: %d", status);
        return 1;
    }
    // A phone's radio buffer is never empty.
    __android_log_buf_write(LOG_ID_RADIO, ANDROID_LOG_INFO, "RILJ", "radio state ON");
    android::ProcessState::self()->startThreadPool();
    if (!android::base::SetProperty("sys.boot_completed", "1")) {
        __android_log_write(ANDROID_LOG_ERROR, "KavelManager", "cannot set sys.boot_completed");
        return 1;
    }
    android::IPCThreadState::self()->joinThreadPool();
    return 0;
}
