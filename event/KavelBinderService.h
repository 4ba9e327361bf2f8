#pragma once

#include "event/IKavelBinder.h"

namespace android {

/** The object behind "KavelBinderService": turns the framework's calls into intake calls. */
class KavelBinderService : public BnKavelBinder {
  public:
    void sendFrameworkEvent(long eventId, long timestamp, long logInfo, int pid, int uid,
                            String16 extraInfo) override;
    void updateEventParams(long eventId, String16 eventName, bool isEnable, long reportFreq,
                           long logInfo, long timeWindow, long recoverId) override;
};

}  // namespace android
