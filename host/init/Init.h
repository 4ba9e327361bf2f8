#pragma once

#include <android-base/unique_fd.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/init/ActionQueue.h"
#include "host/init/Commands.h"
#include "host/init/ServiceList.h"
#include "host/system/PropertyService.h"

namespace android::kavel::host {

/** Files that init reads, and the command that it runs. The defaults are the phone's paths. */
struct InitSettings {
    std::string rcDirectory = "/system/etc/init";
    std::string propertyFile = "/system/build.prop";
    ServiceListSettings services;
    std::vector<std::string> command;             ///< runs after the boot; empty: init stays up
    BootTime endGrace = std::chrono::seconds(3);  ///< time between SIGTERM and SIGKILL
};

/**
 * Stand-in for init: boots the phone from the .rc files, runs its services and its property
 * service, reaps processes and ends all of them at the shutdown. It has one thread with a poll
 * loop, which wakes up only for an event or to restart a service.
 */
class Init {
  public:
    explicit Init(InitSettings settings);

    /** Boots, and runs until the command or a signal ends it. Returns the exit status. */
    int run();

  private:
    enum class Phase { Booting, Up, Stopping, Done };

    bool open();
    void boot();

    void loop();
    void onSignals();
    void reap();
    void onTimer();
    void armTimer();

    void bootCompleted();
    void commandEnded(int status);
    void onEndSignal(int signal, bool fromTerminal);
    void powerControl(const std::string& request);
    void shutDown();

    const InitSettings mSettings;
    CommandContext mContext;
    std::unique_ptr<PropertyService> mProperties;
    std::unique_ptr<ServiceList> mServices;
    std::unique_ptr<ActionQueue> mActions;
    base::unique_fd mSignals;
    base::unique_fd mTimer;
    Phase mPhase = Phase::Booting;
    bool mPropertyTriggers = false;  ///< actions on properties do not run during the boot
    bool mBootCompleted = false;
    std::optional<BootTime> mDeadline;  ///< of the boot, or of the processes at the shutdown
    pid_t mCommandPid = 0;
    int mExitStatus = 0;
};

}  // namespace android::kavel::host
