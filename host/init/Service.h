#pragma once

#include <functional>
#include <string>

#include "host/init/Lifecycle.h"
#include "host/init/RcScript.h"

namespace android::kavel::host {

/** What all services share. */
struct ServiceSettings {
    std::string socketDirectory = "/dev/socket";
    std::string outputFile = "/dev/null";  ///< where the services' stdout and stderr go
    bool switchUsers = false;              ///< see canSwitchUsers()
    double timeScale = 1;                  ///< the restart period is divided by it
};

/** One service of the phone: its block of the .rc file, its state and its process. */
class Service {
  public:
    /** Told the value of init.svc.NAME on each change. */
    using StateListener = std::function<void(const std::string& name, const char* state)>;

    Service(RcService spec, const ServiceSettings& settings, StateListener listener);

    /** Each returns false, with a log line, if the service could not be started. */
    bool start();
    bool restart();
    void stop();
    /** Asks the process to end, and starts none again; kill() follows if it does not end. */
    void shutDown();
    void kill() const;

    /** The process has ended with @p status, as wait() gives it. */
    void ended(int status);
    /** When tick() is due. */
    std::optional<BootTime> dueAt() const { return mLifecycle.dueAt(); }
    void tick(BootTime now);

    const RcService& spec() const { return mSpec; }
    /** The process, and the process group that it leads; 0 while there is none. */
    pid_t pid() const { return mPid; }

  private:
    bool carryOut(Lifecycle::Step step);
    bool startProcess();
    void signalGroup(int number) const;
    void announce();

    const RcService mSpec;
    const ServiceSettings& mSettings;
    const StateListener mListener;
    Lifecycle mLifecycle;
    std::string mAnnounced;
    pid_t mPid = 0;
};

/** The clock of all service times. */
BootTime bootTimeNow();

}  // namespace android::kavel::host
