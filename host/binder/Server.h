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
    uint64_t lastUse;               ///< the receiving thread's own
    std::atomic<bool> busy{false};  ///< a two-way call of it is waiting or in work
};

/**
 * The services of this process. One thread receives for all of them and never waits for a client
 * or a handler: it puts calls into the work queue and answers one-way calls at once with whether
 * there was room. It sleeps while nothing arrives. Thread-safe.
 */
class Server {
  public:
    /** The process's server; the first use starts its thread. Never destroyed. */
    static Server& instance();

    /** Registers @p object under @p name; NO_ERROR, or minus the errno of the failure. */
    status_t publish(const std::string& name, const sp<BBinder>& object);

    /** The object that this process has registered with address @p address; null if none. */
    sp<BBinder> findLocal(const std::string& address);

    /** Ends a two-way call; a client that is gone or reads nothing only loses its connection. */
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
    void turnAway(const Listener& listener);
    void receiveFrom(const std::shared_ptr<Connection>& connection);
    void rearm(const Connection& connection);
    bool dropLeastUsed();
    std::shared_ptr<Listener> listenerOf(int fd);

    const base::unique_fd mEpoll;
    base::unique_fd mReserve;  ///< given up to turn a client away when no descriptor is left
    bool mIsShort = false;     ///< the last client was turned away
    uint64_t mUses = 0;
    std::map<int, std::shared_ptr<Connection>> mConnections;  ///< the receiving thread's own

    Mutex mLock;
    std::map<int, std::shared_ptr<Listener>> mListeners GUARDED_BY(mLock);
};

}  // namespace android::kavel::host
