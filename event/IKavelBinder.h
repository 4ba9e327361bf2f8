#pragma once

#include <binder/IInterface.h>
#include <binder/Parcel.h>
#include <utils/String16.h>

namespace android {

/** Name under which the daemon registers its service with the service manager. */
inline constexpr const char* KAVEL_BINDER_SERVICE_NAME = "KavelBinderService";

/**
 * The framework's way in: reports of abnormal events and the settings of each event type.
 * Both calls are one-way: they return before the daemon has handled them, and nothing comes back.
 */
class IKavelBinder : public IInterface {
  public:
    static const String16 descriptor;

    /** Transaction codes, the first two user codes. */
    enum : uint32_t {
        SEND_FRAMEWORK_EVENT = 1,
        UPDATE_EVENT_PARAMS = 2,
    };

    /** The local object where @p binder is one, else a new proxy; null for a null binder. */
    static sp<IKavelBinder> asInterface(const sp<IBinder>& binder);
    /** Replaces the default implementation; false, and no change, for a null one. */
    static bool setDefaultImpl(sp<IKavelBinder> impl);
    static const sp<IKavelBinder>& getDefaultImpl();

    virtual const String16& getInterfaceDescriptor() const;

    /**
     * Reports one event.
     *
     * @param timestamp  the reporter's clock; logged only, a record carries the time of arrival
     * @param logInfo    log-selection bits; the daemon aborts on a value outside int32
     * @param extraInfo  free text, or keys and values for the event types that carry them
     */
    virtual void sendFrameworkEvent(long eventId, long timestamp, long logInfo, int pid, int uid,
                                    String16 extraInfo) = 0;

    /**
     * Configures one event type.
     *
     * @param timeWindow  milliseconds for which further reports join the same catch
     * @param recoverId   recovery action, or 0 for none; an event type with one gets no name
     */
    virtual void updateEventParams(long eventId, String16 eventName, bool isEnable, long reportFreq,
                                   long logInfo, long timeWindow, long recoverId) = 0;

  protected:
    IKavelBinder();
    ~IKavelBinder() override;

  private:
    static sp<IKavelBinder> default_impl;
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
 * Server side: checks the token, reads the parcel and calls the object. What a short report does
 * not hold is zero; short settings are refused with a line, and NOT_ENOUGH_DATA.
 */
class BnKavelBinder : public BnInterface<IKavelBinder> {
  public:
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override;
};

}  // namespace android
