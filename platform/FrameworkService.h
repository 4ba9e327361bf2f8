#pragma once

#include <binder/IBinder.h>
#include <utils/String16.h>

namespace android::kavel {

/** The framework's "kavel" service; null where it is not there after five seconds. Any thread. */
sp<IBinder> frameworkService();
/** What each request to that service begins with. */
const String16& frameworkToken();

}  // namespace android::kavel
