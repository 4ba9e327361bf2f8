#define LOG_TAG "binder"

#include <binder/Binder.h>
#include <binder/IInterface.h>
#include <binder/Parcel.h>
#include <log/log.h>

#include "host/binder/AttachedObjects.h"

namespace android {
namespace kavel::host {

AttachedObjects::~AttachedObjects() {
    for (const auto& [id, entry] : mEntries) {
        if (entry.cleanup != nullptr) entry.cleanup(id, entry.object, entry.cookie);
    }
}

void AttachedObjects::attach(const void* id, void* object, void* cookie,
                             IBinder::object_cleanup_func cleanup) {
    const Mutex::Autolock lock(mLock);
    if (!mEntries.try_emplace(id, Entry{object, cookie, cleanup}).second) {
        ALOGE("object id %p is attached already", id);
    }
}

void* AttachedObjects::find(const void* id) const {
    const Mutex::Autolock lock(mLock);
    const auto found = mEntries.find(id);
    return found == mEntries.end() ? nullptr : found->second.object;
}

void AttachedObjects::detach(const void* id) {
    const Mutex::Autolock lock(mLock);
    mEntries.erase(id);
}

}  // namespace kavel::host

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

class BBinder::Extras : public kavel::host::AttachedObjects {};

BBinder::BBinder() : mExtras(nullptr), mReserved0(nullptr) {}

BBinder::~BBinder() {
    delete mExtras.load();
}

BBinder::Extras* BBinder::getOrCreateExtras() {
    Extras* extras = mExtras.load();
    if (extras != nullptr) return extras;
    auto* created = new Extras;
    if (mExtras.compare_exchange_strong(extras, created)) return created;
    delete created;  // another thread was first
    return extras;
}

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

status_t BBinder::onTransact(uint32_t code, const Parcel&, Parcel* reply, uint32_t) {
    if (code != INTERFACE_TRANSACTION || reply == nullptr) return UNKNOWN_TRANSACTION;
    return reply->writeString16(getInterfaceDescriptor());
}

status_t BBinder::linkToDeath(const sp<DeathRecipient>&, void*, uint32_t) {
    return INVALID_OPERATION;
}

status_t BBinder::unlinkToDeath(const wp<DeathRecipient>&, void*, uint32_t, wp<DeathRecipient>*) {
    return INVALID_OPERATION;
}

void BBinder::attachObject(const void* id, void* object, void* cookie,
                           object_cleanup_func cleanup) {
    getOrCreateExtras()->attach(id, object, cookie, cleanup);
}

void* BBinder::findObject(const void* id) const {
    const Extras* extras = mExtras.load();
    return extras == nullptr ? nullptr : extras->find(id);
}

void BBinder::detachObject(const void* id) {
    if (Extras* extras = mExtras.load()) extras->detach(id);
}

BBinder* BBinder::localBinder() {
    return this;
}

// The reference to the remote object is held from construction to destruction; the header's
// variant, which lets weak references revive a proxy, has no user here.
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
