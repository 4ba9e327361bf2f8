#define LOG_TAG "binder"

#include <binder/IServiceManager.h>
#include <errno.h>
#include <log/log.h>
#include <utils/String8.h>

#include <string>
#include <utility>

#include "host/binder/Proxy.h"
#include "host/binder/Server.h"
#include "host/binder/ServiceDirectory.h"

namespace android {
namespace kavel::host {
namespace {

using Clock = DirectoryWatch::Clock;

constexpr std::chrono::seconds kGetServiceTimeout{5};  // as in the real service manager

std::string narrow(const String16& text) {
    return String8(text).c_str();
}

/** The service manager's interface, implemented with the directory of sockets. */
class HostServiceManager : public IServiceManager {
  public:
    sp<IBinder> checkService(const String16& name) const override {
        const std::string plain = narrow(name);
        if (!isValidServiceName(plain)) return nullptr;
        std::string path = servicePath(plain);
        std::string address;
        base::unique_fd connection = connectTo(path, &address);
        if (!connection.ok()) return nullptr;
        if (const sp<BBinder> local = Server::instance().findLocal(address)) return local;
        return new Proxy(std::move(path), std::move(address), std::move(connection));
    }

    sp<IBinder> getService(const String16& name) const override {
        const sp<IBinder> service = awaitService(name, Clock::now() + kGetServiceTimeout);
        if (service == nullptr) ALOGW("service '%s' did not appear", narrow(name).c_str());
        return service;
    }

    sp<IBinder> waitForService(const String16& name) override {
        return awaitService(name, Clock::time_point::max());
    }

    status_t addService(const String16& name, const sp<IBinder>& service, bool, int) override {
        const std::string plain = narrow(name);
        if (!isValidServiceName(plain)) {
            ALOGE("'%s' is not a valid service name", plain.c_str());
            return BAD_VALUE;
        }
        if (service == nullptr) return UNEXPECTED_NULL;
        if (service->localBinder() == nullptr) return INVALID_OPERATION;
        return Server::instance().publish(plain, service->localBinder());
    }

    // No program of the phone lists services or asks for declared ones.
    Vector<String16> listServices(int) override { return {}; }
    bool isDeclared(const String16&) override { return false; }

  private:
    sp<IBinder> awaitService(const String16& name, Clock::time_point deadline) const {
        if (!isValidServiceName(narrow(name))) return nullptr;
        if (const sp<IBinder> service = checkService(name)) return service;
        ALOGI("waiting for service '%s'", narrow(name).c_str());
        DirectoryWatch watch;
        for (;;) {
            if (const sp<IBinder> service = checkService(name)) return service;
            if (!watch.wait(deadline)) return nullptr;
        }
    }

    IBinder* onAsBinder() override { return nullptr; }
};

}  // namespace
}  // namespace kavel::host

IServiceManager::IServiceManager() = default;
IServiceManager::~IServiceManager() = default;

const String16& IServiceManager::getInterfaceDescriptor() const {
    static const String16& descriptor = *new String16("android.os.IServiceManager");
    return descriptor;
}

sp<IServiceManager> defaultServiceManager() {
    // Never destroyed: pool threads may still use it while the process exits.
    static const sp<IServiceManager>& manager =
            *new sp<IServiceManager>(new kavel::host::HostServiceManager);
    return manager;
}

}  // namespace android
