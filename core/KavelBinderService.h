#pragma once

#include <atomic>
#include <chrono>

#include "event/IKavelBinder.h"

namespace android {

/** Implementation of "KavelBinderService": passes the framework's calls to the handler. */
class KavelBinderService : public BnKavelBinder {
  public:
    void sendFrameworkEvent(long eventId, long timestamp, long logInfo, int pid, int uid,
                            String16 extraInfo) override;
    void updateEventParams(long eventId, String16 eventName, bool isEnable, long reportFreq,
                           long logInfo, long timeWindow, long recoverId) override;
    /**
     * Writes the daemon's status to @p fd, which the caller keeps: as text, or as JSON if one of
     * @p args is "--json". Other arguments are ignored, as those of a bug report. Only for root,
     * the shell and the daemon's own user; others get a line that says so. Waits for a limited time
     * if the caller does not read.
     */
    status_t dump(int fd, const Vector<String16>& args) override;

  private:
    const std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
    std::atomic<int> mDumps{0};  // that are being written
};

}  // namespace android
