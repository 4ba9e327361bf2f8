#pragma once

#include "event/IKavelBinder.h"

namespace android {

/** Implementation of "KavelBinderService": passes the framework's calls to the handler. */
class KavelBinderService : public BnKavelBinder {
  public:
    void sendFrameworkEvent(long eventId, long timestamp, long logInfo, int pid, int uid,
                            String16 extraInfo) override;
    void updateEventParams(long eventId, String16 eventName, bool isEnable, long reportFreq,
                           long logInfo, long timeWindow, long recoverId) override;
};

}  // namespace android
