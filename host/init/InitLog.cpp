#include "host/init/InitLog.h"

#include <android-base/stringprintf.h>

#include <cstdarg>
#include <cstdio>
#include <string>

namespace android::kavel::host {

void initLog(int priority, const char* format, ...) {
    va_list args;
    va_start(args, format);
    std::string text;
    base::StringAppendV(&text, format, args);
    va_end(args);
    __android_log_write(priority, "init", text.c_str());
    if (priority < ANDROID_LOG_WARN) return;
    static_cast<void>(fprintf(stderr, "init: %s\n", text.c_str()));
}

}  // namespace android::kavel::host
