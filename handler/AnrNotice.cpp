#include "handler/AnrNotice.h"

#include <binder/Parcel.h>

#include "platform/FrameworkService.h"
#include "platform/Log.h"

namespace android::kavel {
namespace {

constexpr uint32_t kAnrRecoveryBegun = 8;  // of android.os.IKavelManager

}  // namespace

void notifyFrameworkOfAnr(int32_t pid, int64_t eventId) {
    // On the reporting thread: a framework that is asked back while it reports, with a lock held,
    // meets its own thread there and goes on.
    const sp<IBinder> service = frameworkService();
    if (service == nullptr) {
        KAVEL_LOGE(KAVEL_NO_TAG,
                   "[dravo_kavel doKavelAnrRecoverAction]: binder service kavel does not exist.\n");
        return;
    }
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(frameworkToken());
    data.writeInt32(pid);
    data.writeInt64(eventId);
    if (service->transact(kAnrRecoveryBegun, data, &reply, 0) != OK) {
        KAVEL_LOGE(KAVEL_NO_TAG,
                   "[dravo_kavel doKavelAnrRecoverAction]: binder service kavel failed with "
                   "error.\n");
    }
    KAVEL_LOGI(KAVEL_NO_TAG,
               "[dravo_kavel doKavelAnrRecoverAction]: binder service kavel replied: %d.\n",
               reply.readInt32());
}

}  // namespace android::kavel
