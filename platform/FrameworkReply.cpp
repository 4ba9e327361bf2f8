#include "platform/FrameworkReply.h"

#include "platform/Log.h"

namespace android::kavel {

void logFrameworkReply(const char* step, android_LogPriority priority,
                       const FrameworkReply& reply) {
    if (!reply.hasService) {
        __android_log_print(priority, KAVEL_NO_TAG,
                            "[dravo_kavel %s]: binder service kavel does not exist.\n", step);
        return;
    }
    if (reply.status != OK) {
        __android_log_print(priority, KAVEL_NO_TAG,
                            "[dravo_kavel %s]: binder service kavel failed with error.\n", step);
    }
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel %s]: binder service kavel replied: %d.\n", step,
               reply.value);
}

}  // namespace android::kavel
