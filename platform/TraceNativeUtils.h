#pragma once

namespace android {

/** The maker's native trace utility, as far as the daemon needs it. */
class TraceNativeUtils {
  public:
    /** The utility, which lives as long as the process; null where the device has none. */
    static TraceNativeUtils* getInstance();

    /**
     * Flushes a running trace session into a file under /data/local/traces.
     *
     * @param stop     ends the session
     * @param restart  starts it anew
     */
    virtual void stopDravoTracing(const char* session, bool stop, bool restart) = 0;

  protected:
    virtual ~TraceNativeUtils() = default;
};

}  // namespace android
