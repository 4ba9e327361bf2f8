#pragma once

#include <android-base/unique_fd.h>
#include <binder/Binder.h>
#include <sys/types.h>
#include <utils/Mutex.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace android::kavel::host {

/** One client's connection to one object. */
struct Connection {
    base::unique_fd fd;
    sp<BBinder> object;
    pid_t pid;
    uid_t uid;
    uint64_t lastUse;               ///< only for the receiving thread
    std::atomic<bool> busy{false};  ///< a two-way call is queued or running
};

/**
 * The services of this process. One thread receives all calls and never waits for a client or a
 * handler: it queues the calls, and tells the sender of a one-way call at once whether the call was
 * accepted. Thread-safe.
 */
class Server {
  public:
    /** The process's server; the first use starts its thread. Never destroyed. */
    static Server& instance();

    /** Registers @p object as @p name. Returns NO_ERROR or a negative errno. */
    status_t publish(const std::string& name, const sp<BBinder>& object);

    /** The object that this process has registered with address @p address; null if none. */
    sp<BBinder> findLocal(const std::string& address);

    /** Sends the answer to a call. If the client has gone or does not read, closes the connection.
     */
    void answer(const std::shared_ptr<Connection>& connection, status_t status, const uint8_t* body,
                size_t size);

  private:
    struct Listener {
        base::unique_fd fd;
        std::string name;
        std::string address;
        sp<BBinder> object;
    };

    Server();
    void run();
    void acceptOn(const Listener& listener);
    void refuseClient(const Listener& listener);
    void receiveFrom(const std::shared_ptr<Connection>& connection);
    void rearm(const Connection& connection);
    bool dropLeastUsed();
    std::shared_ptr<Listener> listenerOf(int fd);

    const base::unique_fd mEpoll;
    base::unique_fd mReserve;  ///< closed to refuse a client if no other descriptor is free
    bool mIsRefusing = false;  ///< the last client was refused: one warning is enough
    uint64_t mUses = 0;
    std::map<int, std::shared_ptr<Connection>> mConnections;  ///< only for the receiving thread

    Mutex mLock;
    std::map<int, std::shared_ptr<Listener>> mListeners GUARDED_BY(mLock);
};

}  // namespace android::kavel::host
