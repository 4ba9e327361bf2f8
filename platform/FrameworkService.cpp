#include "platform/FrameworkService.h"

#include <binder/IServiceManager.h>

namespace android::kavel {

sp<IBinder> frameworkService() {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    // The calls that replace it either give up at once, while the framework restarts, or wait for
    // ever where there is none.
    return defaultServiceManager()->getService(String16("kavel"));
#pragma GCC diagnostic pop
}

const String16& frameworkToken() {
    static const auto* const token = new String16("android.os.IKavelManager");
    return *token;
}

}  // namespace android::kavel
