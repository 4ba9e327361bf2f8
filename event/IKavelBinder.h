#pragma once

#include <binder/IInterface.h>
#include <binder/Parcel.h>
#include <utils/String16.h>

namespace android {

/** Name under which the daemon registers its service with the service manager. */
inline constexpr const char* KAVEL_BINDER_SERVICE_NAME = "KavelBinderService";

/**
 * Interface for the framework: reports of abnormal events and the settings of each event type. Both
 * calls are one-way: they return before the daemon has handled them, without a result.
 */
class IKavelBinder : public IInterface {
  public:
    static const String16 descriptor;

    /** Transaction codes, the first two user codes. */
    enum : uint32_t {
        SEND_FRAMEWORK_EVENT = 1,
        UPDATE_EVENT_PARAMS = 2,
    };

    /** Returns @p binder if it is a local object, otherwise a new proxy; null for a null binder. */
    static sp<IKavelBinder> asInterface(const sp<IBinder>& binder);

    virtual const String16& getInterfaceDescriptor() const;

    /**
     * Reports one event.
     *
     * @param timestamp  the reporter's clock; only logged, because a record has the time of arrival
     * @param logInfo    log-selection bits; the daemon aborts if the value is outside int32
     * @param extraInfo  free text, or keys and values for event types that have them
     */
    virtual void sendFrameworkEvent(long eventId, long timestamp, long logInfo, int pid, int uid,
                                    String16 extraInfo) = 0;

    /**
     * Configures one event type.
     *
     * @param timeWindow  milliseconds during which further reports join the same catch
     * @param recoverId   recovery action, or 0 for none; an event type that has one gets no name
     */
    virtual void updateEventParams(long eventId, String16 eventName, bool isEnable, long reportFreq,
                                   long logInfo, long timeWindow, long recoverId) = 0;

  protected:
    IKavelBinder();
    ~IKavelBinder() override;
};

/** Client side: writes each call into a parcel and sends it one-way. */
class BpKavelBinder : public BpInterface<IKavelBinder> {
  public:
    explicit BpKavelBinder(const sp<IBinder>& remote);

    void sendFrameworkEvent(long eventId, long timestamp, long logInfo, int pid, int uid,
                            String16 extraInfo) override;
    void updateEventParams(long eventId, String16 eventName, bool isEnable, long reportFreq,
                           long logInfo, long timeWindow, long recoverId) override;
};

/**
 * Server side: checks the token, reads the parcel and calls the object. Missing values of a short
 * report are 0. Short settings are rejected with a log line and NOT_ENOUGH_DATA.
 */
class BnKavelBinder : public BnInterface<IKavelBinder> {
  public:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override;
};

}  // namespace android
