#pragma once

#include <string>

#include "platform/CallLine.h"

namespace android {

/** The maker's native trace utility, with the functions that the daemon needs. */
class TraceNativeUtils {
  public:
    /** Returns the utility, which is never destroyed; null if the device has none. */
    static TraceNativeUtils* getInstance();

    /**
     * Writes a running trace session to a file in /data/local/traces, on a separate thread. The
     * caller waits for at most the time of a command (CallLine). Up to eight calls may be
     * outstanding. Any thread.
     *
     * @param stop     ends the session
     * @param restart  starts it again
     */
    kavel::CallLine::Outcome stopDravoTracing(const char* session, bool stop, bool restart);

  protected:
    /** Writes the trace file. Returns when it exists. */
    virtual void flush(const std::string& session, bool stop, bool restart) = 0;
    virtual ~TraceNativeUtils() = default;
};

}  // namespace android
