#include "desk/serve/Serve.h"

#include <sys/signalfd.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <thread>
#include <vector>

#include "desk/serve/Connections.h"
#include "desk/serve/Site.h"
#include "desk/serve/Watcher.h"

namespace kaveldesk {
namespace {

constexpr unsigned kFewestThreads = 4;  // reports may occupy three

/** Turns Ctrl-C into a descriptor that becomes readable. A second one, after the first was seen,
 * ends the program: the database is good at any time. */
class StopSignals {
  public:
    StopSignals() {
        sigemptyset(&mSignals);
        sigaddset(&mSignals, SIGINT);
        sigaddset(&mSignals, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &mSignals, &mOld);
        mFd = Fd(signalfd(-1, &mSignals, SFD_CLOEXEC | SFD_NONBLOCK));
    }
    ~StopSignals() { pthread_sigmask(SIG_SETMASK, &mOld, nullptr); }
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    const Fd& fd() const { return mFd; }
    /** Removes the signal that was seen and lets the next one end the program. */
    void take() {
        signalfd_siginfo info = {};
        while (read(mFd.get(), &info, sizeof(info)) > 0) {
        }
        pthread_sigmask(SIG_UNBLOCK, &mSignals, nullptr);
    }

  private:
    sigset_t mSignals = {};
    sigset_t mOld = {};
    Fd mFd;
};

/** From now on, the program waits only so long for a report or a large archive that is being read.
 * Reports change nothing, and what is not stored yet is indexed the next time. */
void endSoon() {
    constexpr unsigned kSeconds = 1;
    signal(SIGALRM, [](int) { _exit(0); });
    alarm(kSeconds);
}

}  // namespace

void serve(const ServeSettings& settings) {
    StopSignals stop;  // before any thread, which would take a signal
    SiteState state{Guard(settings.token), {}, settings.watch.has_value(), {}};
    std::unique_ptr<Store> forWatcher;
    if (settings.watch) forWatcher = openStore(settings.place, Access::Write);
    std::vector<Answer> answers;
    for (unsigned i = 0; i < std::max(kFewestThreads, std::thread::hardware_concurrency()); ++i) {
        const auto site = std::make_shared<Site>(openStore(settings.place, Access::Read), state);
        answers.emplace_back([site](const std::string& head) { return site->answer(head); });
    }
    Fd listener = listenAt(settings.listen);
    const ListenAddress address = addressOf(listener);
    Connections connections(std::move(listener), std::move(answers));
    std::unique_ptr<Watcher> watcher;
    if (settings.watch) {
        watcher = std::make_unique<Watcher>(
                std::move(forWatcher), *settings.watch,
                Watcher::Events{[&state] { ++state.changes; }, settings.complained});
    }
    settings.started(address);
    connections.run(stop.fd());
    stop.take();
    endSoon();
}

}  // namespace kaveldesk
