#pragma once

#include <android-base/unique_fd.h>

#include <functional>
#include <list>
#include <memory>
#include <string>
#include <string_view>

#include "host/system/PropertyRules.h"
#include "host/system/PropertyStore.h"

namespace android::kavel::host {

/**
 * The one writer of the system properties. It lives inside init and never blocks.
 *
 * init drives it from its own poll loop with a single descriptor:
 *
 *     auto properties = PropertyService::start(PropertyService::Options::fromEnvironment(), &why);
 *     properties->setControlHandler(...);
 *     properties->loadFile("/system/build.prop");
 *     properties->loadPersistent();  // once /data is there
 *     pollfd fds[] = {{properties->pollFd(), POLLIN, 0}, ...};
 *     if (fds[0].revents != 0) properties->onReadable();
 *
 * Within init properties are changed with set(), never with SetProperty(): init would wait for
 * its own answer. Reading through GetProperty() is fine. Not thread-safe: every call belongs to
 * the thread of the poll loop.
 */
class PropertyService {
  public:
    struct Options {
        std::string storeDir;   /**< Created if missing; values of an earlier boot are removed. */
        std::string socketPath; /**< The folder must exist; a stale socket is replaced. */
        std::string persistDir; /**< Holds persist.*; created with the first such value. */

        /**
         * The phone's own paths, as far as KAVEL_HOST_PROPERTY_DIR and
         * KAVEL_HOST_PROPERTY_SOCKET do not say otherwise.
         */
        static Options fromEnvironment();
    };

    /**
     * Handles "ctl.ACTION" set to SERVICE ("start", "stop", "restart", "interface_start", ...).
     * False makes the request fail. It may call set(); it should only take note and return.
     */
    using ControlHandler = std::function<bool(std::string_view action, const std::string& service)>;
    /** Told after each stored set, for "on property:" triggers. It may call set(). */
    using ChangeHandler = std::function<void(const std::string& name, const std::string& value)>;

    /** Opens store and socket. Null on failure, with the reason in *error. */
    static std::unique_ptr<PropertyService> start(Options options, std::string* error);
    ~PropertyService();
    PropertyService(const PropertyService&) = delete;
    PropertyService& operator=(const PropertyService&) = delete;

    void setControlHandler(ControlHandler handler) { mControl = std::move(handler); }
    void setChangeHandler(ChangeHandler handler) { mChanged = std::move(handler); }

    /**
     * Readable when there is work (an epoll descriptor over the socket and its clients); stays
     * the same and stays open for the service's lifetime.
     */
    int pollFd() const { return mEpoll.get(); }
    /** Does all the work that is ready, then returns. */
    void onReadable();

    /** Applies the rules, stores or hands over, and answers as a client's request would be. */
    PropertyStatus set(const std::string& name, const std::string& value);

    /**
     * Sets the defaults in a build.prop-like file of NAME=VALUE lines; blank lines and lines that
     * begin with '#' are skipped, refused ones are logged. False if the file cannot be read.
     */
    bool loadFile(const std::string& path);
    /** Sets what /data/property keeps from earlier boots, over the defaults of files. */
    void loadPersistent();

  private:
    struct Client {
        base::unique_fd fd;
        std::string request;
    };

    /** Only what clients and init ask for is kept for the next boot, not what a boot loads. */
    enum class Origin { kRequest, kBoot };

    explicit PropertyService(Options options);
    bool open(std::string* error);
    PropertyStatus apply(const std::string& name, const std::string& value, Origin origin);
    void acceptClients();
    /** False when the client is done with. */
    bool serve(Client& client);
    void drop(const Client* client);

    const Options mOptions;
    PropertyStore mStore;
    base::unique_fd mListen;
    base::unique_fd mEpoll;
    std::list<Client> mClients;  // oldest first
    ControlHandler mControl;
    ChangeHandler mChanged;
};

}  // namespace android::kavel::host
