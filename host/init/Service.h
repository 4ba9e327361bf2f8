#pragma once

#include <functional>
#include <string>

#include "host/init/Lifecycle.h"
#include "host/init/RcScript.h"

namespace android::kavel::host {

/** Settings of all services. */
struct ServiceSettings {
    std::string socketDirectory = "/dev/socket";
    std::string outputFile = "/dev/null";  ///< receives the services' stdout and stderr
    bool switchUsers = false;              ///< see canSwitchUsers()
    double timeScale = 1;                  ///< divides the restart period
};

/** One service of the phone: its block of the .rc file, its state and its process. */
class Service {
  public:
    /** Called with each new value of init.svc.NAME. */
    using StateListener = std::function<void(const std::string& name, const char* state)>;

    Service(RcService spec, const ServiceSettings& settings, StateListener listener);

    /** Each returns false, with a log line, if the service could not be started. */
    bool start();
    bool restart();
    void stop();
    /** Sends SIGTERM to the process, and prevents further starts. */
    void shutDown();
    void kill() const;

    /** Reports that the process has ended, with the @p status of wait(). */
    void ended(int status);
    /** Time at which tick() restarts the service; nullopt if no restart is due. */
    std::optional<BootTime> dueAt() const { return mLifecycle.dueAt(); }
    void tick(BootTime now);

    const RcService& spec() const { return mSpec; }
    /** The process id, which is also that of its process group; 0 if there is no process. */
    pid_t pid() const { return mPid; }

  private:
    bool perform(Lifecycle::Step step);
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

/** The current time, for all times of services. */
BootTime bootTimeNow();

}  // namespace android::kavel::host
