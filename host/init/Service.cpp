#include "host/init/Service.h"

#include <android-base/stringprintf.h>
#include <android-base/unique_fd.h>
#include <sys/wait.h>

#include <csignal>
#include <cstring>
#include <ctime>
#include <utility>

#include "host/init/Accounts.h"
#include "host/init/ControlSocket.h"
#include "host/init/InitLog.h"
#include "host/init/Spawn.h"

namespace android::kavel::host {
namespace {

/** Fills in whose process it becomes; false with *error where a name is unknown. */
bool lookUpIdentity(const RcService& spec, SpawnPlan* plan, std::string* error) {
    const auto uid = findUser(spec.user);
    if (!uid) {
        *error = "unknown user " + spec.user;
        return false;
    }
    Identity identity{*uid, 0, {}};
    for (size_t i = 0; i < spec.groups.size(); ++i) {
        const auto gid = findGroup(spec.groups[i]);
        if (!gid) {
            *error = "unknown group " + spec.groups[i];
            return false;
        }
        if (i == 0) {
            identity.gid = *gid;
        } else {
            identity.supplementary.push_back(*gid);
        }
    }
    plan->identity = std::move(identity);
    return true;
}

bool lookUpCapabilities(const RcService& spec, SpawnPlan* plan, std::string* error) {
    if (!spec.capabilities) return true;
    std::string unknown;
    plan->capabilities = capabilityMask(*spec.capabilities, &unknown);
    if (!plan->capabilities) *error = "unknown capability " + unknown;
    return plan->capabilities.has_value();
}

}  // namespace

BootTime bootTimeNow() {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return std::chrono::duration_cast<BootTime>(std::chrono::seconds(now.tv_sec) +
                                                std::chrono::nanoseconds(now.tv_nsec));
}

Service::Service(RcService spec, const ServiceSettings& settings, StateListener listener)
      : mSpec(std::move(spec)),
        mSettings(settings),
        mListener(std::move(listener)),
        mLifecycle(mSpec.oneshot,
                   std::chrono::duration_cast<BootTime>(mSpec.restartPeriod / settings.timeScale)) {
}

bool Service::start() {
    return carryOut(mLifecycle.requestStart());
}

bool Service::restart() {
    return carryOut(mLifecycle.requestRestart());
}

void Service::stop() {
    carryOut(mLifecycle.requestStop());
}

void Service::tick(BootTime now) {
    carryOut(mLifecycle.tick(now));
}

void Service::shutDown() {
    mLifecycle.shutDown();
    if (mPid != 0) signalGroup(SIGTERM);
    announce();
}

void Service::kill() const {
    if (mPid != 0) signalGroup(SIGKILL);
}

void Service::signalGroup(int number) const {
    // The service leads a session of its own, so its children get the signal as well.
    static_cast<void>(::kill(-mPid, number));
}

void Service::ended(int status) {
    const pid_t pid = mPid;
    const bool asked = mLifecycle.state() == Lifecycle::State::Stopping;
    kill();  // what the service started itself does not outlive it
    mPid = 0;
    mLifecycle.ended();
    const char* verb = WIFSIGNALED(status) ? "was killed by signal" : "exited with status";
    const int number = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
    if (mLifecycle.state() == Lifecycle::State::Restarting && !asked) {
        logWarning("service '%s' (pid %d) %s %d, starts again", mSpec.name.c_str(), pid, verb,
                   number);
    } else {
        logInfo("service '%s' (pid %d) %s %d", mSpec.name.c_str(), pid, verb, number);
    }
    announce();
}

bool Service::carryOut(Lifecycle::Step step) {
    bool done = true;
    if (step == Lifecycle::Step::Kill) kill();
    if (step == Lifecycle::Step::Start) {
        done = startProcess();
        if (done) {
            mLifecycle.started(bootTimeNow());
        } else {
            mLifecycle.startFailed();
        }
    }
    announce();
    return done;
}

bool Service::startProcess() {
    SpawnPlan plan;
    plan.args = mSpec.args;
    plan.outputFile = mSettings.outputFile;
    std::string error;
    const bool known = (!mSettings.switchUsers || lookUpIdentity(mSpec, &plan, &error)) &&
                       lookUpCapabilities(mSpec, &plan, &error);
    for (const auto& [name, value] : mSpec.environment) {
        plan.environment.push_back(base::StringPrintf("%s=%s", name.c_str(), value.c_str()));
    }
    std::vector<base::unique_fd> sockets;
    if (known) {
        for (const RcSocket& spec : mSpec.sockets) {
            auto fd = createControlSocket(spec, mSettings.socketDirectory, mSettings.switchUsers,
                                          &error);
            if (!error.empty()) break;
            plan.environment.push_back(controlSocketVariable(spec.name) + "=" +
                                       std::to_string(fd.get()));
            plan.sockets.push_back(fd.get());
            sockets.push_back(std::move(fd));
        }
    }
    if (!error.empty()) {
        logError("%s: cannot start service '%s': %s", mSpec.where.c_str(), mSpec.name.c_str(),
                 error.c_str());
        return false;
    }
    const Spawned child = spawn(plan);
    if (child.pid < 0) {
        logError("%s: cannot start service '%s' (%s): %s: %s", mSpec.where.c_str(),
                 mSpec.name.c_str(), mSpec.args[0].c_str(), child.step.c_str(),
                 strerror(child.error));
        return false;
    }
    mPid = child.pid;
    logInfo("service '%s' started, pid %d", mSpec.name.c_str(), mPid);
    return true;
}

void Service::announce() {
    if (mAnnounced == mLifecycle.stateName()) return;
    mAnnounced = mLifecycle.stateName();
    mListener(mSpec.name, mAnnounced.c_str());
}

}  // namespace android::kavel::host
