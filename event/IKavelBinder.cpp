#include "event/IKavelBinder.h"

#include <utils/String8.h>

#include "event/ReportJournal.h"
#include "platform/Log.h"

namespace android {

// IMPLEMENT_META_INTERFACE accepts only the names of an allow-list, so its parts are written out
// here.

const String16 IKavelBinder::descriptor("KavelBinder");

IKavelBinder::IKavelBinder() = default;
IKavelBinder::~IKavelBinder() = default;

sp<IKavelBinder> IKavelBinder::asInterface(const sp<IBinder>& binder) {
    if (binder == nullptr) return nullptr;
    const sp<IInterface> local = binder->queryLocalInterface(descriptor);
    if (local != nullptr) return static_cast<IKavelBinder*>(local.get());
    return new BpKavelBinder(binder);
}

const String16& IKavelBinder::getInterfaceDescriptor() const {
    return descriptor;
}

BpKavelBinder::BpKavelBinder(const sp<IBinder>& remote) : BpInterface<IKavelBinder>(remote) {}

// Tools that read the log depend on the spelling "Framwork".
void BpKavelBinder::sendFrameworkEvent(long eventId, long timestamp, long logInfo, int pid, int uid,
                                       String16 extraInfo) {
    KAVEL_LOGI(KAVEL_TAG_BINDER, "send FrameworkEvent called");
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bp sendFramworkEvent eventId: %ld", eventId);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bp sendFramworkEvent timestamp: %ld", timestamp);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bp sendFramworkEvent logInfo: %ld", logInfo);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bp sendFramworkEvent pid: %d", pid);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bp sendFramworkEvent uid: %d", uid);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bp sendFramworkEvent extraInfo: %s", String8(extraInfo).c_str());

    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(descriptor);
    data.writeInt64(eventId);
    data.writeInt64(timestamp);
    data.writeInt64(logInfo);
    data.writeInt32(pid);
    data.writeInt32(uid);
    data.writeString16(extraInfo);
    if (remote()->transact(SEND_FRAMEWORK_EVENT, data, &reply, IBinder::FLAG_ONEWAY) != NO_ERROR) {
        KAVEL_LOGE(KAVEL_TAG_BINDER, "sendFramworkEvent failed");
    }
}

void BpKavelBinder::updateEventParams(long eventId, String16 eventName, bool isEnable,
                                      long reportFreq, long logInfo, long timeWindow,
                                      long recoverId) {
    KAVEL_LOGI(KAVEL_TAG_BINDER, "send updateEventParams called");
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bp updateEventParams eventId: %ld", eventId);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bp updateEventParams eventName: %s", String8(eventName).c_str());
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bp updateEventParams isEnable: %d", isEnable);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bp updateEventParams reportFreq: %ld", reportFreq);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bp updateEventParams logInfo: %ld", logInfo);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bp updateEventParams timeWindow: %ld", timeWindow);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bp updateEventParams recoverId: %ld", recoverId);

    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(descriptor);
    data.writeInt64(eventId);
    data.writeString16(eventName);
    data.writeBool(isEnable);
    data.writeInt64(reportFreq);
    data.writeInt64(logInfo);
    data.writeInt64(timeWindow);
    data.writeInt64(recoverId);
    remote()->transact(UPDATE_EVENT_PARAMS, data, &reply, IBinder::FLAG_ONEWAY);
}

namespace {

/** Parameters of a request to configure an event type, in their order in the parcel. */
struct EventSettings {
    int64_t eventId = 0;
    String16 eventName;
    bool isEnable = false;
    int64_t reportFreq = 0;
    int64_t logInfo = 0;
    int64_t timeWindow = 0;
    int64_t recoverId = 0;
};

/** Reads a text; a null text is read as empty. */
status_t readText(const Parcel& data, String16* text) {
    const size_t start = data.dataPosition();
    int32_t length = 0;
    const status_t status = data.readInt32(&length);
    if (status != NO_ERROR || length < 0) return status;
    data.setDataPosition(start);
    return data.readString16(text);
}

/** Reads all settings. Returns false if @p data is too short. */
bool readSettings(const Parcel& data, EventSettings* settings) {
    return data.readInt64(&settings->eventId) == NO_ERROR &&
           readText(data, &settings->eventName) == NO_ERROR &&
           data.readBool(&settings->isEnable) == NO_ERROR &&
           data.readInt64(&settings->reportFreq) == NO_ERROR &&
           data.readInt64(&settings->logInfo) == NO_ERROR &&
           data.readInt64(&settings->timeWindow) == NO_ERROR &&
           data.readInt64(&settings->recoverId) == NO_ERROR;
}

}  // namespace

status_t BnKavelBinder::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                   uint32_t flags) {
    // The platform's request, for any kind of service: its parcel has no interface token.
    if (code == DUMP_TRANSACTION) return BBinder::onTransact(code, data, reply, flags);
    CHECK_INTERFACE(IKavelBinder, data, reply);
    KAVEL_LOGI(KAVEL_TAG_BINDER, "Bn onTransaction code:%d", static_cast<int>(code));
    switch (code) {
        case UPDATE_EVENT_PARAMS: {
            EventSettings settings;
            if (!readSettings(data, &settings)) {
                // Zeros instead of the missing values would disable the event type.
                KAVEL_LOGE(KAVEL_TAG_BINDER,
                           "[updateEventParams]: settings of eventId 0x%lx refused: the request is "
                           "cut short\n",
                           static_cast<long>(settings.eventId));
                kavel::ReportJournal::instance().settingsRefused();
                return NOT_ENOUGH_DATA;
            }
            updateEventParams(settings.eventId, settings.eventName, settings.isEnable,
                              settings.reportFreq, settings.logInfo, settings.timeWindow,
                              settings.recoverId);
            return NO_ERROR;
        }
        case SEND_FRAMEWORK_EVENT: {
            // A report is worth handling even if it is incomplete: missing values are read as 0.
            // The fields are read into variables because the evaluation order of call arguments is
            // unspecified.
            const int64_t eventId = data.readInt64();
            const int64_t timestamp = data.readInt64();
            const int64_t logInfo = data.readInt64();
            const int32_t pid = data.readInt32();
            const int32_t uid = data.readInt32();
            String16 extraInfo;
            if (readText(data, &extraInfo) != NO_ERROR) {
                KAVEL_LOGW(KAVEL_TAG_BINDER,
                           "[sendFrameworkEvent]: report of eventId 0x%lx is cut short, what is "
                           "missing is 0 or empty\n",
                           static_cast<long>(eventId));
                kavel::ReportJournal::instance().incompleteReport();
            }
            sendFrameworkEvent(eventId, timestamp, logInfo, pid, uid, extraInfo);
            return NO_ERROR;
        }
        default:
            return BBinder::onTransact(code, data, reply, flags);
    }
}

}  // namespace android
