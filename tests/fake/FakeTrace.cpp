// Takes the place of libcutils' trace functions with one enabled category, whose bit is 8. A
// section of it begins with the log line "V {NAME" and ends with "V }", so that it has its place
// among the other lines.

#include "platform/Log.h"
#include "platform/TraceSection.h"

uint64_t atrace_get_enabled_tags() {
    return 8;
}

extern "C" void atrace_begin_body(const char* name) {
    __android_log_print(ANDROID_LOG_VERBOSE, KAVEL_NO_TAG, "{%s\n", name);
}

extern "C" void atrace_end_body() {
    __android_log_print(ANDROID_LOG_VERBOSE, KAVEL_NO_TAG, "}\n");
}
