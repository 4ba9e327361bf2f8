#pragma once

#include <android-base/unique_fd.h>
#include <binder/IBinder.h>
#include <utils/Mutex.h>

#include <atomic>
#include <string>
#include <vector>

#include "host/binder/Frame.h"

namespace android::kavel::host {

/**
 * Proxy of a service in another process. If that process has ended or another one has registered
 * the name, every call returns DEAD_OBJECT. Thread-safe; each two-way call in progress has its own
 * connection.
 */
class Proxy : public IBinder {
  public:
    /** @param connection  connection to @p path; its server has the address @p address */
    Proxy(std::string path, std::string address, base::unique_fd connection);

    const String16& getInterfaceDescriptor() const override;
    bool isBinderAlive() const override;
    status_t pingBinder() override;
    status_t dump(int fd, const Vector<String16>& args) override;
    /**
     * A one-way call returns when the server has accepted or refused it, before it is handled.
     *
     * @return the handler's status; DEAD_OBJECT if the server has gone; FAILED_TRANSACTION if the
     *         call is too large or the server's queue is full
     */
    status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override;
    status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie,
                         uint32_t flags) override;
    status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie, uint32_t flags,
                           wp<DeathRecipient>* outRecipient) override;
    void attachObject(const void* id, void* object, void* cookie,
                      object_cleanup_func cleanup) override;
    void* findObject(const void* id) const override;
    void detachObject(const void* id) override;

  private:
    ~Proxy() override;
    int exchange(const base::unique_fd& connection, uint32_t code, const Parcel& data,
                 uint32_t flags, Frame* answer, bool* mayHaveArrived);
    int openConnection(base::unique_fd* connection);
    base::unique_fd takeIdle();
    void keepIdle(base::unique_fd connection);
    void closeIdle();

    const std::string mPath;
    const std::string mAddress;
    std::atomic<bool> mAlive{true};

    mutable Mutex mLock;
    std::vector<base::unique_fd> mIdle GUARDED_BY(mLock);
};

}  // namespace android::kavel::host
