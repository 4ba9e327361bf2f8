#include "host/init/Service.h"

#include <android-base/strings.h>
#include <android-base/unique_fd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
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

/** Minimum time between two starts of a service; the default of the phone's init. */
constexpr std::chrono::seconds kRestartPeriod{5};

/** Adds the options of setpriv for user and groups. If one is unknown, returns false with *error.
 */
bool addIdentity(const RcService& spec, std::vector<std::string>* options, std::string* error) {
    if (!findUser(spec.user)) *error = "unknown user " + spec.user;
    for (const auto& group : spec.groups) {
        if (!findGroup(group)) *error = "unknown group " + group;
    }
    std::vector<std::string> others = spec.groups;
    if (!others.empty()) others.erase(others.begin());
    const std::string& primary = spec.groups.empty() ? "root" : spec.groups[0];
    options->insert(options->end(), {"--reuid", spec.user, "--regid", primary});
    options->push_back(others.empty() ? "--clear-groups" : "--groups=" + base::Join(others, ','));
    return error->empty();
}

void addCapabilities(const RcService& spec, std::vector<std::string>* options) {
    if (!spec.capabilities) return;
    std::string set = "-all";
    for (const auto& name : *spec.capabilities) set += ",+" + name;
    for (const char* kind : {"--bounding-set=", "--inh-caps=", "--ambient-caps="}) {
        options->push_back(kind + set);
    }
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
                   std::chrono::duration_cast<BootTime>(kRestartPeriod / settings.timeScale)) {}

bool Service::start() {
    return perform(mLifecycle.requestStart());
}

bool Service::restart() {
    return perform(mLifecycle.requestRestart());
}

void Service::stop() {
    perform(mLifecycle.requestStop());
}

void Service::tick(BootTime now) {
    perform(mLifecycle.tick(now));
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
    // The service is a session leader, so its process group also contains its children.
    static_cast<void>(::kill(-mPid, number));
}

void Service::ended(int status) {
    const pid_t pid = mPid;
    const bool asked = mLifecycle.state() == Lifecycle::State::Stopping;
    kill();  // also ends the service's children
    mPid = 0;
    mLifecycle.ended();
    const char* verb = WIFSIGNALED(status) ? "was killed by signal" : "exited with status";
    const int number = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
    if (mLifecycle.state() == Lifecycle::State::Restarting && !asked) {
        initLog(ANDROID_LOG_WARN, "service '%s' (pid %d) %s %d, starts again", mSpec.name.c_str(),
                pid, verb, number);
    } else {
        initLog(ANDROID_LOG_INFO, "service '%s' (pid %d) %s %d", mSpec.name.c_str(), pid, verb,
                number);
    }
    announce();
}

bool Service::perform(Lifecycle::Step step) {
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
    std::vector<base::unique_fd> sockets;
    if (access(mSpec.args[0].c_str(), X_OK) != 0) {
        error = mSpec.args[0] + ": " + strerror(errno);
    } else if (!mSettings.switchUsers || addIdentity(mSpec, &plan.privileges, &error)) {
        addCapabilities(mSpec, &plan.privileges);
        for (const RcSocket& spec : mSpec.sockets) {
            sockets.push_back(createControlSocket(spec, mSettings.socketDirectory,
                                                  mSettings.switchUsers, &error));
            if (!error.empty()) break;
            plan.sockets.push_back(sockets.back().get());
            plan.environment.push_back(controlSocketVariable(spec.name) + "=" +
                                       std::to_string(plan.sockets.back()));
        }
    }
    const pid_t pid = error.empty() ? spawn(plan) : -1;
    if (pid < 0) {
        if (error.empty()) error = strerror(errno);
        initLog(ANDROID_LOG_ERROR, "%s: cannot start service '%s': %s", mSpec.where.c_str(),
                mSpec.name.c_str(), error.c_str());
        return false;
    }
    mPid = pid;
    initLog(ANDROID_LOG_INFO, "service '%s' started, pid %d", mSpec.name.c_str(), mPid);
    return true;
}

void Service::announce() {
    if (mAnnounced == mLifecycle.stateName()) return;
    mAnnounced = mLifecycle.stateName();
    mListener(mSpec.name, mAnnounced.c_str());
}

}  // namespace android::kavel::host
