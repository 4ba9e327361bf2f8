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

/** Where init finds what it reads, and what it is to run. The defaults are the phone's paths. */
struct InitSettings {
    std::string rcDirectory = "/system/etc/init";
    std::string propertyFile = "/system/build.prop";
    ServiceListSettings services;
    std::vector<std::string> command;             ///< runs once the phone is up; none: stay up
    BootTime endGrace = std::chrono::seconds(3);  ///< for processes to end by themselves
};

/**
 * Init's stand-in: boots the phone as the .rc files say, keeps its services and its properties,
 * reaps what ends, and takes everything down at the end. One thread, one poll loop, which wakes
 * up only when something has happened or a service is due to start again.
 */
class Init {
  public:
    explicit Init(InitSettings settings);

    /** Boots and runs until the command ends, or a signal asks to; the exit status for main. */
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
    void askedToEnd(int signal, bool fromTerminal);
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
    bool mPropertyTriggers = false;  ///< actions on properties run only once boot is through
    bool mBootCompleted = false;
    std::optional<BootTime> mDeadline;  ///< of the boot, or of an orderly end
    pid_t mCommandPid = 0;
    int mExitStatus = 0;
};

}  // namespace android::kavel::host
