#include <binder/Binder.h>
#include <binder/IInterface.h>
#include <binder/Parcel.h>

namespace android {
IBinder::IBinder() = default;
IBinder::~IBinder() = default;

sp<IInterface> IBinder::queryLocalInterface(const String16&) {
    return nullptr;
}

bool IBinder::checkSubclass(const void*) const {
    return false;
}

BBinder* IBinder::localBinder() {
    return nullptr;
}

BpBinder* IBinder::remoteBinder() {
    return nullptr;
}

BBinder::BBinder() : mExtras(nullptr), mReserved0(nullptr) {}

BBinder::~BBinder() = default;

const String16& BBinder::getInterfaceDescriptor() const {
    static const String16& none = *new String16;  // outlives the pool threads
    return none;
}

bool BBinder::isBinderAlive() const {
    return true;
}

status_t BBinder::pingBinder() {
    return NO_ERROR;
}

status_t BBinder::dump(int, const Vector<String16>&) {
    return NO_ERROR;
}

status_t BBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    data.setDataPosition(0);
    const status_t status =
            code == PING_TRANSACTION ? pingBinder() : onTransact(code, data, reply, flags);
    if (reply != nullptr) reply->setDataPosition(0);
    return status;
}

status_t BBinder::onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t) {
    if (code == DUMP_TRANSACTION) {
        const int fd = data.readFileDescriptor();
        const int32_t count = data.readInt32();
        Vector<String16> args;
        for (int32_t i = 0; i < count && data.dataAvail() > 0; ++i) args.add(data.readString16());
        return dump(fd, args);
    }
    if (code != INTERFACE_TRANSACTION || reply == nullptr) return UNKNOWN_TRANSACTION;
    return reply->writeString16(getInterfaceDescriptor());
}

status_t BBinder::linkToDeath(const sp<DeathRecipient>&, void*, uint32_t) {
    return INVALID_OPERATION;
}

status_t BBinder::unlinkToDeath(const wp<DeathRecipient>&, void*, uint32_t, wp<DeathRecipient>*) {
    return INVALID_OPERATION;
}

// No program of the phone attaches objects to a binder.
void BBinder::attachObject(const void*, void*, void*, object_cleanup_func) {}

void* BBinder::findObject(const void*) const {
    return nullptr;
}

void BBinder::detachObject(const void*) {}

BBinder* BBinder::localBinder() {
    return this;
}

// Holds a strong reference to the remote object for its whole life. The header also allows weak
// references that revive a proxy; the phone's programs do not need them.
BpRefBase::BpRefBase(const sp<IBinder>& o) : mRemote(o.get()), mRefs(nullptr), mState(0) {
    if (mRemote != nullptr) mRemote->incStrong(this);
}

BpRefBase::~BpRefBase() {
    if (mRemote != nullptr) mRemote->decStrong(this);
}

void BpRefBase::onFirstRef() {}

void BpRefBase::onLastStrongRef(const void*) {}

bool BpRefBase::onIncStrongAttempted(uint32_t flags, const void*) {
    return (flags & FIRST_INC_STRONG) != 0;
}

IInterface::IInterface() = default;
IInterface::~IInterface() = default;

sp<IBinder> IInterface::asBinder(const IInterface* iface) {
    return iface == nullptr ? nullptr : const_cast<IInterface*>(iface)->onAsBinder();
}

sp<IBinder> IInterface::asBinder(const sp<IInterface>& iface) {
    return asBinder(iface.get());
}

}  // namespace android
