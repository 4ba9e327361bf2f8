#include "host/init/Init.h"

#include <android-base/file.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/timerfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "host/init/InitLog.h"
#include "host/init/Processes.h"
#include "host/init/Spawn.h"

namespace android::kavel::host {
namespace {

using std::chrono::seconds;

/** Maximum time of a boot. */
constexpr BootTime kBootLimit = seconds(300);  // a busy machine may need a minute

/** Exit statuses, as in a shell. */
constexpr int kBootFailed = 1;
constexpr int kSignalBase = 128;

sigset_t handledSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGCHLD, SIGTERM, SIGINT, SIGHUP}) sigaddset(&set, number);
    return set;
}

/** Parses the .rc files of a folder, sorted by name. */
RcScript readScripts(const std::string& directory) {
    RcScript script;
    std::error_code error;
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
        if (entry.path().extension() == ".rc") files.push_back(entry.path().string());
    }
    if (error) initLog(ANDROID_LOG_ERROR, "%s: %s", directory.c_str(), error.message().c_str());
    std::sort(files.begin(), files.end());
    for (const std::string& file : files) {
        std::string text;
        if (base::ReadFileToString(file, &text, /*follow_symlinks=*/true)) {
            parseRc(file, text, &script);
        } else {
            initLog(ANDROID_LOG_ERROR, "%s: %s", file.c_str(), strerror(errno));
        }
    }
    for (const RcProblem& problem : script.problems) {
        initLog(ANDROID_LOG_WARN, "%s: %s", problem.where.c_str(), problem.text.c_str());
    }
    return script;
}

}  // namespace

Init::Init(InitSettings settings) : mSettings(std::move(settings)) {
    mContext.switchUsers = mSettings.services.switchUsers;
    mContext.setProperty = [this](const std::string& name, const std::string& value) {
        const PropertyStatus status = mProperties->set(name, value);
        return status == PropertyStatus::kSuccess ? std::string() : describe(status);
    };
}

int Init::run() {
    if (!open()) return kBootFailed;
    boot();
    loop();
    killDescendants();
    initLog(ANDROID_LOG_INFO, "the phone is down");
    return mExitStatus;
}

bool Init::open() {
    const sigset_t signals = handledSignals();
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    static_cast<void>(signal(SIGPIPE, SIG_IGN));
    // Services' orphans become children of init even if init is not process 1.
    prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
    mSignals.reset(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    mTimer.reset(timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC | TFD_NONBLOCK));
    if (mSignals.get() < 0 || mTimer.get() < 0) {
        initLog(ANDROID_LOG_ERROR, "signals and timer: %s", strerror(errno));
        return false;
    }
    std::string error;
    mProperties = PropertyService::start(PropertyService::Options::fromEnvironment(), &error);
    if (mProperties == nullptr) {
        initLog(ANDROID_LOG_ERROR, "property service: %s", error.c_str());
        return false;
    }
    mProperties->setControlHandler([this](std::string_view action, const std::string& name) {
        return mServices->control(action, name);
    });
    mProperties->setChangeHandler([this](const std::string& name, const std::string& value) {
        if (mPropertyTriggers) mActions->trigger("property:" + name + "=" + value);
        if (name == "sys.boot_completed" && value == "1") mBootCompleted = true;
        if (name == "sys.powerctl" && !value.empty()) powerControl(value);
    });
    return true;
}

void Init::boot() {
    initLog(ANDROID_LOG_INFO, "the phone boots");
    if (!mContext.switchUsers) {
        initLog(ANDROID_LOG_WARN,
                "there is only one user id: all services run as that user, which owns all files");
    }
    mDeadline = bootTimeNow() + kBootLimit;
    if (!mProperties->loadFile(mSettings.propertyFile)) {
        initLog(ANDROID_LOG_ERROR, "%s cannot be read", mSettings.propertyFile.c_str());
    }
    RcScript script = readScripts(mSettings.rcDirectory);
    mServices = std::make_unique<ServiceList>(
            std::move(script.services), mSettings.services,
            [this](const std::string& name, const char* state) {
                const std::string failure = mContext.setProperty("init.svc." + name, state);
                if (!failure.empty())
                    initLog(ANDROID_LOG_ERROR, "init.svc.%s: %s", name.c_str(), failure.c_str());
            });
    mActions = std::make_unique<ActionQueue>(std::move(script.actions), mContext);
    mActions->trigger("early-init");
    mActions->trigger("init");
    mActions->run();
    mProperties->loadPersistent();
    mActions->trigger("post-fs-data");
    mActions->trigger("boot");
    mActions->run();
    mPropertyTriggers = true;
    mActions->propertiesReady();
    mActions->run();
    mServices->startClass("core");
    mServices->startClass("main");
    // Without a command, nothing depends on the end of the boot, so it has no deadline.
    if (mSettings.command.empty()) {
        mPhase = Phase::Up;
        mDeadline.reset();
    }
}

void Init::loop() {
    while (mPhase != Phase::Done) {
        if (mPhase != Phase::Stopping) mActions->run();
        if (mPhase == Phase::Booting && mBootCompleted) bootCompleted();
        if (mPhase == Phase::Done) return;
        armTimer();
        std::array<pollfd, 3> fds{{{mSignals.get(), POLLIN, 0},
                                   {mTimer.get(), POLLIN, 0},
                                   {mProperties->pollFd(), POLLIN, 0}}};
        if (poll(fds.data(), fds.size(), -1) < 0) continue;
        if (fds[0].revents != 0) onSignals();
        if (fds[1].revents != 0) onTimer();
        if (fds[2].revents != 0) mProperties->onReadable();
    }
}

void Init::onSignals() {
    signalfd_siginfo info{};
    while (read(mSignals.get(), &info, sizeof(info)) == static_cast<ssize_t>(sizeof(info))) {
        const int number = static_cast<int>(info.ssi_signo);
        if (number == SIGCHLD) {
            reap();
        } else {
            onEndSignal(number, info.ssi_code == SI_KERNEL);
        }
    }
}

void Init::reap() {
    int status = 0;
    for (pid_t pid = 0; (pid = waitpid(-1, &status, WNOHANG)) > 0;) {
        if (pid == mCommandPid) {
            commandEnded(status);
        } else {
            mServices->ended(pid, status);
        }
    }
    if (mPhase == Phase::Stopping && mCommandPid == 0 && !mServices->anyRunning()) {
        mPhase = Phase::Done;
    }
}

void Init::onTimer() {
    uint64_t expirations = 0;
    static_cast<void>(read(mTimer.get(), &expirations, sizeof(expirations)));
    const BootTime now = bootTimeNow();
    mServices->tick(now);
    if (!mDeadline || now < *mDeadline) return;
    mDeadline.reset();
    if (mPhase == Phase::Booting) {
        initLog(ANDROID_LOG_ERROR, "sys.boot_completed was not set within %lld s: giving up",
                static_cast<long long>(std::chrono::duration_cast<seconds>(kBootLimit).count()));
        mExitStatus = kBootFailed;
        shutDown();
    } else if (mPhase == Phase::Stopping) {
        initLog(ANDROID_LOG_WARN, "some processes did not end by themselves: killing them");
        mServices->killAll();
        if (mCommandPid != 0) kill(mCommandPid, SIGKILL);
    }
}

void Init::armTimer() {
    std::optional<BootTime> due = mServices->dueAt();
    if (mDeadline && (!due || *mDeadline < *due)) due = mDeadline;
    itimerspec spec{};
    if (due) {
        const auto whole = std::chrono::duration_cast<seconds>(*due);
        spec.it_value.tv_sec = whole.count();
        spec.it_value.tv_nsec = std::chrono::nanoseconds(*due - whole).count();
    }
    timerfd_settime(mTimer.get(), TFD_TIMER_ABSTIME, &spec, nullptr);
}

void Init::bootCompleted() {
    mPhase = Phase::Up;
    mDeadline.reset();
    initLog(ANDROID_LOG_INFO, "boot completed");
    SpawnPlan plan;
    plan.args = mSettings.command;
    plan.foreground = true;
    mCommandPid = spawn(plan);
    if (mCommandPid > 0) return;
    initLog(ANDROID_LOG_ERROR, "cannot run %s: %s", plan.args[0].c_str(), strerror(errno));
    mCommandPid = 0;
    mExitStatus = kBootFailed;
    shutDown();
}

void Init::commandEnded(int status) {
    mCommandPid = 0;
    mExitStatus = WIFSIGNALED(status) ? kSignalBase + WTERMSIG(status) : WEXITSTATUS(status);
    if (mPhase != Phase::Stopping) shutDown();
}

void Init::onEndSignal(int number, bool fromTerminal) {
    if (mPhase == Phase::Stopping) return;
    if (mCommandPid != 0 && number == SIGINT) {
        // As in a shell, the command handles the interrupt. The terminal sends it to the command
        // as well.
        if (!fromTerminal) kill(mCommandPid, SIGINT);
        return;
    }
    initLog(ANDROID_LOG_INFO, "asked to end by signal %d", number);
    if (mPhase == Phase::Booting) mExitStatus = kSignalBase + number;
    shutDown();
}

void Init::powerControl(const std::string& request) {
    if (mPhase == Phase::Stopping) return;
    // A request to reboot only shuts the phone down.
    initLog(ANDROID_LOG_INFO, "asked to end by sys.powerctl: %s", request.c_str());
    shutDown();
}

void Init::shutDown() {
    mPhase = Phase::Stopping;
    mPropertyTriggers = false;
    mDeadline = bootTimeNow() + mSettings.endGrace;
    if (mCommandPid != 0) kill(mCommandPid, SIGTERM);
    mServices->shutDown();
    if (mCommandPid == 0 && !mServices->anyRunning()) mPhase = Phase::Done;
}

}  // namespace android::kavel::host
