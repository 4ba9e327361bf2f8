#pragma once

#include <atomic>
#include <string>

#include "event/EventParameters.h"

namespace android::kavel {

/** What is done about events whose type has a recover id. Any thread. */
class RecoveryActions {
  public:
    explicit RecoveryActions(EventParameters& parameters) : mParameters(parameters) {}

    /** @param eventType  state of the ANR: "end", "dialog", "closeUser", or any other for its start
     */
    void doKavelRecoverAction(int pid, long eventId, const std::string& processName,
                              const std::string& eventType);
    /** Tells the recovery monitor; the start of an ANR is told to the framework as well. */
    void doKavelAnrRecoverAction(int pid, long eventId, const std::string& processName,
                                 const std::string& eventType);
    /** Kills system_server. 0, or -1 where there is none. */
    int doKavelWmRebootAction();
    /** Crashes the kernel. -1 where it does not let us. */
    int doKavelRebootAction();
    /** The first process of that command: -1 where /proc cannot be opened, -2 for none. */
    static int getPidForCommand(const std::string& command);

    /** Whether the recovery of the test package is under way. */
    bool isAnrTesting() const { return mIsKavelAnrTesting; }

  private:
    EventParameters& mParameters;
    std::atomic<bool> mIsKavelAnrTesting{false};
};

}  // namespace android::kavel
