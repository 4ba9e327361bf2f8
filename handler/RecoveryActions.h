#pragma once

#include <atomic>
#include <string>

#include "event/EventParameters.h"

namespace android::kavel {

/** Recovery actions for events whose type has a recover id. Any thread. */
class RecoveryActions {
  public:
    explicit RecoveryActions(EventParameters& parameters) : mParameters(parameters) {}

    /**
     * @param eventType  state of the ANR: "end", "dialog" or "closeUser"; any other value means its
     *                   start
     */
    void doKavelRecoverAction(int pid, long eventId, const std::string& processName,
                              const std::string& eventType);
    /** Informs the recovery monitor. At the start of an ANR, informs the framework as well. */
    void doKavelAnrRecoverAction(int pid, long eventId, const std::string& processName,
                                 const std::string& eventType);
    /** Kills system_server. Returns 0, or -1 if there is none. */
    int doKavelWmRebootAction();
    /** Crashes the kernel. Returns -1 if the kernel does not allow it. */
    int doKavelRebootAction();
    /**
     * Returns the pid of the first process with that command: -1 if /proc cannot be opened, -2 if
     * there is none.
     */
    static int getPidForCommand(const std::string& command);

    /** Whether a recovery of the test package is running. */
    bool isAnrTesting() const { return mIsKavelAnrTesting; }

  private:
    EventParameters& mParameters;
    std::atomic<bool> mIsKavelAnrTesting{false};
};

}  // namespace android::kavel
