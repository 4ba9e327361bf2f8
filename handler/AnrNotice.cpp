#include "handler/AnrNotice.h"

#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <utils/String16.h>

#include "platform/Log.h"

namespace android::kavel {
namespace {

constexpr const char* kService = "kavel";
constexpr uint32_t kAnrRecoveryBegun = 8;  // of android.os.IKavelManager

const String16& interfaceToken() {
    static const String16& token = *new String16("android.os.IKavelManager");
    return token;
}

}  // namespace

void notifyFrameworkOfAnr(int32_t pid, int64_t eventId) {
    const sp<IBinder> service = defaultServiceManager()->getService(String16(kService));
    if (service == nullptr) {
        KAVEL_LOGE(KAVEL_NO_TAG,
                   "[dravo_kavel doKavelAnrRecoverAction]: binder service kavel does not exist.\n");
        return;
    }
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(interfaceToken());
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
