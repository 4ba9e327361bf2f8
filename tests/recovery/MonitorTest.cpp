// Would catch a watch that waits for the wrong time, reads the wrong user id, or is ended by the
// cancel of another watch; a limit that is off by one; an entry or a cancel that outlives its
// watch; a request that is lost, or served during an escalation; wrong steps of an escalation; a
// lost or changed line; and (under the sanitizers) a race on the lists.

#include "recovery/KavelAnrRecoveryMonitor.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <new>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <android-base/properties.h>
#include <android-base/strings.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/fake/Eventually.h"
#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeProcesses.h"
#include "tests/fake/FakeTime.h"
#include "tests/fake/Script.h"
#include "tests/fake/Series.h"

namespace android {
namespace {

std::string refusedThread;                   // threads of this name do not start
std::atomic<const char*> bootCompleted{""};  // the property
std::atomic<bool> hasMemory{true};

}  // namespace

// These take the places of Thread::run() and of new[] that does not throw: the linker wraps them.
extern "C" status_t __real__ZN7android6Thread3runEPKcim(Thread* self, const char* name,
                                                        int32_t priority, size_t stack);
extern "C" status_t __wrap__ZN7android6Thread3runEPKcim(Thread* self, const char* name,
                                                        int32_t priority, size_t stack) {
    if (name == refusedThread || priority != 0 || stack != 0) return NO_MEMORY;
    return __real__ZN7android6Thread3runEPKcim(self, name, priority, stack);
}
extern "C" void* __real__ZnamRKSt9nothrow_t(size_t size, const std::nothrow_t& tag) noexcept;
extern "C" void* __wrap__ZnamRKSt9nothrow_t(size_t size, const std::nothrow_t& tag) noexcept {
    return hasMemory ? __real__ZnamRKSt9nothrow_t(size, tag) : nullptr;
}

namespace base {

std::string GetProperty(const std::string& name, const std::string& /*default_value*/) {
    return name == "sys.dravo.boot_completed" ? bootCompleted.load() : "";
}

bool SetProperty(const std::string& name, const std::string& value) {
    if (name == "sys.dravo.boot_completed") bootCompleted = value == "1" ? "1" : "0";
    kavel::fake::note("property " + name + "=" + value);
    return true;
}

}  // namespace base

namespace kavel {
namespace {

using test::ScriptLine;

/**
 * Waits until all other threads wait: none has run between several looks at them, so none is left
 * that could wake another one. A thread that reads a pipe does not count as one that waits: a
 * sanitizer asks another process for the names of functions.
 */
bool settle() {
    constexpr int kLooks = 4;
    int same = 0;
    std::map<std::string, std::string> before;
    return test::eventually([&] {
        std::map<std::string, std::string> threads;  // what the kernel says about each
        bool wait = true;
        for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
            if (thread.path().filename() == std::to_string(gettid())) continue;
            std::string& text = threads[thread.path()];
            std::ifstream file(thread.path() / "status");
            std::getline(file, text, '\0');  // nothing if it has just ended
            std::string place;
            std::getline(std::ifstream(thread.path() / "wchan"), place);
            wait = wait && text.find("\nState:\tS") != std::string::npos &&
                   place.find("pipe") == std::string::npos;
            // Not the process's memory, which a sanitizer changes while this reads.
            text.erase(0, text.find("\nvoluntary_ctxt_switches"));
        }
        same = threads == std::exchange(before, threads) && wait ? same + 1 : 0;
        return same == kLooks;
    });
}

class Monitor : public testing::Test {
  protected:
    Monitor() {
        fake::captureLog();
        fake::clearLog();
        fake::resetTime(0);
        fake::holdSleeps(true);
        fake::onSleep([](uint64_t seconds) { fake::note("sleep " + std::to_string(seconds)); });
        fake::setProcesses({{51, fake::process(1000, "system_server")}});
    }
    /** Lets all threads end: liblog is not to be used by one while the process exits. */
    ~Monitor() override {
        fake::holdSleeps(false);
        EXPECT_TRUE(settle());
        for (std::thread& call : mCalls) call.join();
    }

    std::string follow(const ScriptLine& step) {
        run(step);
        EXPECT_TRUE(settle());
        std::map<pid_t, std::string> ofThreads;
        for (const fake::LogLine& line : fake::drainLog()) {
            const std::string text = base::Trim(fake::shown(line));
            ofThreads[line.tid] += (text[0] == 'V' ? text.substr(2) : text) + "\n";
        }
        std::multiset<std::string> texts;
        for (const auto& [tid, text] : ofThreads) texts.insert(text);
        return texts.empty() ? "" : test::folded(base::Join(texts, ""), mSeries);
    }

    KavelAnrRecoveryMonitor& mMonitor = KavelAnrRecoveryMonitor::getInstance();
    std::vector<std::thread> mCalls;

  private:
    /** Whether it is a request. One that comes during an escalation waits, on its own thread. */
    bool request(const std::string& verb, int pid, bool waits = false) {
        const std::map<std::string, std::function<int()>> requests = {
                {"watch", [=] { return mMonitor.monitor(pid, false); }},
                {"close", [=] { return mMonitor.close_user_request(pid); }},
                {"cancel", [=] { return mMonitor.cancel_monitor(pid); }}};
        if (requests.count(verb) == 0) return false;
        const auto call = [request = requests.at(verb)] {
            if (const int result = request()) fake::note("returns " + std::to_string(result));
        };
        if (waits) {
            mCalls.emplace_back(call);
        } else {
            call();
        }
        EXPECT_TRUE(settle());
        return true;
    }
    void run(const ScriptLine& step) {
        const std::string& verb = step.verb();
        const int number = atoi(step.word(1).c_str());
        if (request(verb, number)) return;
        if (verb == "waiting" && request(step.word(1), atoi(step.word(2).c_str()), true)) return;
        if (verb == "cancelled-watches") {
            for (int i = 0; i < number; ++i)
                request("watch", 1, true) && request("cancel", 1, true);
        } else if (verb == "unlisted") {
            const sp thread =
                    new KavelAnrRecoveryMonitor::MonitorThread(&mMonitor, kAnrWatch, number);
            EXPECT_TRUE(mMonitor.handle_anr_recovery(thread.get(), 0));
        } else if (verb == "user") {
            fake::setProcess(number, fake::process(atoi(step.word(2).c_str())));
        } else if (verb == "status") {
            fake::setProcess(1, {step.rest(1), ""});
        } else if (verb == "unreadable") {
            fake::setProcess(number, {});
        } else if (verb == "gone") {
            fake::removeProcess(number);
        } else if (verb == "memory") {
            hasMemory = step.word(1) == "there";
        } else if (verb == "no-thread") {
            refusedThread = step.word(1);
        } else if (verb == "testing") {
            mMonitor.setAnrTesting(step.word(1) == "on");
        } else if (verb == "boot-completed") {
            bootCompleted = "1";
        } else if (verb == "advance") {
            fake::advance(number);
        } else {
            fake::note("no such verb");
        }
    }

    const std::vector<test::Series> mSeries = test::readSeries(KAVEL_GOLDEN_DIR "/series.txt");
};

TEST_F(Monitor, Golden) {
    test::expectScript(KAVEL_GOLDEN_DIR "/monitor.txt",
                       test::stepwise([this](const ScriptLine& step) { return follow(step); }));
}

// Would catch an answer that waits for the end of an escalation, or has the wrong list.
TEST_F(Monitor, StatusDoesNotWaitForAnEscalation) {
    fake::setProcess(1, fake::process(10001));
    bootCompleted = "";
    mMonitor.setAnrTesting(true);
    mMonitor.monitor(1, false);
    EXPECT_TRUE(settle());
    const MonitorStatus watching = mMonitor.status();
    EXPECT_FALSE(watching.isBusy);
    ASSERT_EQ(watching.watches.size(), 1U);
    EXPECT_EQ(watching.watches[0].kind, kAnrWatch);
    EXPECT_EQ(watching.requests.size() + watching.cancels.size(), 0U);
    EXPECT_EQ(watching.runningThreads, 1U);
    fake::advance(30);
    EXPECT_TRUE(settle());
    EXPECT_TRUE(mMonitor.status().isBusy) << "it waits for the framework, with the lock";
    bootCompleted = "1";
    fake::advance(300);
    EXPECT_TRUE(settle());
    EXPECT_FALSE(mMonitor.status().isBusy);
    EXPECT_TRUE(mMonitor.status().watches.empty());
    mMonitor.setAnrTesting(false);
}

TEST_F(Monitor, HundredRequestsAtOnceLeaveEmptyLists) {
    constexpr int kWatches = 50;  // and as many cancels
    for (int pid = 1; pid <= kWatches; ++pid) fake::setProcess(pid, fake::process(10000 + pid));
    fake::holdSleeps(false);
    for (int pid = 1; pid <= kWatches; ++pid) {
        mCalls.emplace_back([this, pid] {
            mMonitor.monitor(pid, pid % 2 == 0);
            mMonitor.cancel_monitor(pid);
        });
    }
    EXPECT_TRUE(settle());
    EXPECT_EQ(fake::logCount("bad list"), 0U);
    // No request is left, no watch is listed, and no cancel ends another watch.
    for (int pid = 1; pid <= kWatches; ++pid) {
        fake::clearLog();
        mMonitor.monitor(pid, pid % 2 == 0);
        EXPECT_TRUE(settle());
        EXPECT_EQ(fake::logCount("monitor_list size:"), 1U);
        EXPECT_EQ(fake::logCount("monitor_list size:1"), 1U);
        EXPECT_EQ(fake::logCount("anr process recover failed, goto ss reboot."), 1U);
    }
}

}  // namespace
}  // namespace kavel
}  // namespace android
