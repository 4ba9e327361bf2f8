#include "tools/DaemonClient.h"

#include <binder/Binder.h>
#include <binder/IServiceManager.h>
#include <utils/Timers.h>

#include <utility>

#include "event/IKavelBinder.h"
#include "tools/CommandLine.h"

namespace android::kavel::tools {
namespace {

/**
 * Forwards calls from the proxy to the daemon and stores their status, because the proxy only logs
 * it.
 */
class StatusRelay : public BBinder {
  public:
    explicit StatusRelay(sp<IBinder> remote) : mRemote(std::move(remote)) {}

    status_t status() const { return mStatus; }

  protected:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override {
        mStatus = mRemote->transact(code, data, reply, flags);
        return mStatus;
    }

  private:
    const sp<IBinder> mRemote;
    status_t mStatus = UNKNOWN_ERROR;
};

std::string statusText(status_t status) {
    switch (status) {
        case DEAD_OBJECT:
            return "the daemon has died; the call is lost";
        case FAILED_TRANSACTION:
            return "the call was not accepted: the daemon's queue is full, the daemon does not "
                   "respond, or the call is too large";
        default:
            return "binder refused the call with status " + std::to_string(status);
    }
}

template <typename Call>
void callDaemon(const Call& call) {
    const sp<IServiceManager> services = defaultServiceManager();
    const sp<IBinder> remote =
            services == nullptr ? nullptr
                                : services->checkService(String16(KAVEL_BINDER_SERVICE_NAME));
    if (remote == nullptr) {
        throw CommandError(std::string(KAVEL_BINDER_SERVICE_NAME) +
                           " is not running (is dravo_kavel started, and may this user reach it?)");
    }
    const sp<StatusRelay> relay = new StatusRelay(remote);
    const sp<IKavelBinder> daemon = interface_cast<IKavelBinder>(relay);
    call(*daemon);
    if (relay->status() != NO_ERROR) throw CommandError(statusText(relay->status()));
}

}  // namespace

void sendReport(const EventReport& report) {
    callDaemon([&](IKavelBinder& daemon) {
        daemon.sendFrameworkEvent(report.eventId, ns2ms(systemTime(SYSTEM_TIME_REALTIME)),
                                  report.logInfo, report.pid, report.uid,
                                  String16(report.extraText.c_str()));
    });
}

void sendSettings(const EventSettings& settings) {
    // The daemon ignores the log-info word of the settings.
    constexpr long kNoLogInfo = 0;
    callDaemon([&](IKavelBinder& daemon) {
        daemon.updateEventParams(settings.eventId, String16(settings.name.c_str()),
                                 settings.enabled, settings.frequency, kNoLogInfo,
                                 settings.windowMs, settings.recoverId);
    });
}

}  // namespace android::kavel::tools
