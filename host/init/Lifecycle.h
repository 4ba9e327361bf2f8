#pragma once

#include <chrono>
#include <optional>

namespace android::kavel::host {

/** Time since boot, suspended time included. */
using BootTime = std::chrono::milliseconds;

/**
 * State of one service and init's decisions about it, without processes and clocks. The caller
 * performs the step that a request returns, and reports the result.
 */
class Lifecycle {
  public:
    enum class State { Stopped, Running, Stopping, Restarting };
    enum class Step { Nothing, Start, Kill };

    /** A service that ends by itself starts again @p restartPeriod after its last start. */
    Lifecycle(bool oneshot, BootTime restartPeriod)
          : mOneshot(oneshot), mRestartPeriod(restartPeriod) {}

    Step requestStart();
    Step requestStop();
    Step requestRestart();
    /** After this call the service does not start again. */
    void shutDown();

    /** Reports that the step Start has succeeded at @p now. */
    void started(BootTime now);
    /** Reports that the step Start has failed: there is no further attempt. */
    void startFailed();
    /** Reports that the process has ended. */
    void ended();

    /** Time of the next restart; nullopt if none is due. */
    std::optional<BootTime> dueAt() const;
    Step tick(BootTime now);

    State state() const { return mState; }
    /** The value of the property init.svc.NAME for the state. */
    const char* stateName() const;

  private:
    bool mOneshot;
    BootTime mRestartPeriod;
    BootTime mLastStart{0};
    State mState = State::Stopped;
    bool mStartAgain = false;  ///< the service stops only to be restarted
    bool mShutDown = false;
};

}  // namespace android::kavel::host
