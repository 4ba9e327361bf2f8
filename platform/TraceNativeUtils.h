#pragma once

#include <string>

#include "platform/CallLine.h"

namespace android {

/** The maker's native trace utility, as far as the daemon needs it. */
class TraceNativeUtils {
  public:
    /** The utility, which lives as long as the process; null where the device has none. */
    static TraceNativeUtils* getInstance();

    /**
     * Flushes a running trace session into a file under /data/local/traces, on a thread of its own.
     * The caller waits for it as long as for a command (CallLine). Up to eight calls may be
     * outstanding. Any thread.
     *
     * @param stop     ends the session
     * @param restart  starts it anew
     */
    kavel::CallLine::Outcome stopDravoTracing(const char* session, bool stop, bool restart);

  protected:
    /** Does it, and returns when the file is there. */
    virtual void flush(const std::string& session, bool stop, bool restart) = 0;
    virtual ~TraceNativeUtils() = default;
};

}  // namespace android
