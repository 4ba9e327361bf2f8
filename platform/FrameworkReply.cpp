#include "platform/FrameworkReply.h"

#include "platform/Log.h"

namespace android::kavel {

void logFrameworkReply(const char* step, android_LogPriority priority,
                       const FrameworkReply& reply) {
    using Outcome = FrameworkReply::Outcome;
    switch (reply.outcome) {
        case Outcome::NoService:
            __android_log_print(priority, KAVEL_NO_TAG,
                                "[dravo_kavel %s]: binder service kavel does not exist.\n", step);
            return;
        case Outcome::Busy:
            KAVEL_LOGE(KAVEL_NO_TAG,
                       "[dravo_kavel %s]: binder service kavel is still busy with an earlier "
                       "request, skipped.\n",
                       step);
            return;
        case Outcome::Late:
            KAVEL_LOGE(KAVEL_NO_TAG,
                       "[dravo_kavel %s]: binder service kavel has not replied in time.\n", step);
            return;
        case Outcome::NoThread:
            KAVEL_LOGE(KAVEL_NO_TAG, "[dravo_kavel %s]: no thread to ask binder service kavel.\n",
                       step);
            return;
        case Outcome::Answered:
            break;
    }
    if (reply.status != OK) {
        __android_log_print(priority, KAVEL_NO_TAG,
                            "[dravo_kavel %s]: binder service kavel failed with error.\n", step);
    }
    KAVEL_LOGI(KAVEL_NO_TAG, "[dravo_kavel %s]: binder service kavel replied: %d.\n", step,
               reply.value);
}

}  // namespace android::kavel
