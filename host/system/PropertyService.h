#pragma once

#include <android-base/unique_fd.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "host/system/PropertyRules.h"
#include "host/system/PropertyStore.h"

namespace android::kavel::host {

/**
 * The only writer of the system properties, part of init. init's poll loop waits for pollFd() and
 * then calls onReadable(), which waits for a client at most twenty seconds.
 *
 * init must use set(), because SetProperty() would wait for an answer of its own thread.
 * GetProperty() is allowed. Not thread-safe: all calls come from the thread of the poll loop.
 */
class PropertyService {
  public:
    struct Options {
        std::string storeDir;   /**< Created if missing; values of an earlier boot are removed. */
        std::string socketPath; /**< The folder must exist; a stale socket is replaced. */
        std::string persistDir; /**< Contains persist.*; created with the first such value. */

        /** propertyDirectory(), propertySocketPath() and the phone's /data/property. */
        static Options fromEnvironment();
    };

    /**
     * Handles "ctl.ACTION" set to SERVICE. If it returns false, the request fails. May call set().
     */
    using ControlHandler = std::function<bool(std::string_view action, const std::string& service)>;
    /** Called after each stored set. May call set(). */
    using ChangeHandler = std::function<void(const std::string& name, const std::string& value)>;

    /** Opens the store and the socket. Returns null on failure, with the reason in *error. */
    static std::unique_ptr<PropertyService> start(Options options, std::string* error);
    ~PropertyService();
    PropertyService(const PropertyService&) = delete;
    PropertyService& operator=(const PropertyService&) = delete;

    void setControlHandler(ControlHandler handler) { mControl = std::move(handler); }
    void setChangeHandler(ChangeHandler handler) { mChanged = std::move(handler); }

    /** Readable if a client waits; the same descriptor for the service's lifetime. */
    int pollFd() const { return mListen.get(); }
    /** Serves one client. */
    void onReadable();

    /** Applies the rules, then stores the value or calls the control handler. */
    PropertyStatus set(const std::string& name, const std::string& value);

    /**
     * Sets the defaults in a build.prop-like file of NAME=VALUE lines; blank lines and lines that
     * begin with '#' are skipped, refused ones are logged. False if the file cannot be read.
     */
    bool loadFile(const std::string& path);
    /** Sets the persist.* properties of earlier boots, over the defaults of files. */
    void loadPersistent();

  private:
    /** Values from kRequest are stored for the next boot; those that a boot loads are not. */
    enum class Origin { kRequest, kBoot };

    explicit PropertyService(Options options);
    bool open(std::string* error);
    PropertyStatus apply(const std::string& name, const std::string& value, Origin origin);

    const Options mOptions;
    const PropertyFolder mStore;
    base::unique_fd mListen;
    ControlHandler mControl;
    ChangeHandler mChanged;
};

}  // namespace android::kavel::host
