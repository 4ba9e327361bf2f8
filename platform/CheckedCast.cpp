#include "platform/CheckedCast.h"

#include <cinttypes>
#include <cstdlib>

#include <android/log.h>

namespace android::kavel {

void abortOnLossyConversion(const char* what, int64_t value) {
    __android_log_print(ANDROID_LOG_FATAL, "dravo_kavel",
                        "%s %" PRId64 " does not fit a 32-bit integer, aborting", what, value);
    abort();
}

}  // namespace android::kavel
