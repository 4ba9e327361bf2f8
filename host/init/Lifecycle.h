#pragma once

#include <chrono>
#include <optional>

namespace android::kavel::host {

/** Time since boot, suspended time included. */
using BootTime = std::chrono::milliseconds;

/**
 * What init decides about one service: pure state, no processes, no clock. The caller carries
 * out the step that a request answers with and reports what came of it.
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
    /** From now on nothing starts any more. */
    void shutDown();

    /** The step Start succeeded at @p now. */
    void started(BootTime now);
    /** The step Start failed: a program that cannot be started is not tried again. */
    void startFailed();
    /** The process has ended. */
    void ended();

    /** When tick() has something to do; none while nothing is due. */
    std::optional<BootTime> dueAt() const;
    Step tick(BootTime now);

    State state() const { return mState; }
    /** The state as the property init.svc.NAME names it. */
    const char* stateName() const;

  private:
    bool mOneshot;
    BootTime mRestartPeriod;
    BootTime mLastStart{0};
    State mState = State::Stopped;
    bool mStartAgain = false;  ///< a stop that belongs to a restart
    bool mShutDown = false;
};

}  // namespace android::kavel::host
