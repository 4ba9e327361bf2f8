#include "desk/cause/ThreadActivity.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include <fmt/core.h>

#include "desk/parse/Text.h"

namespace kaveldesk {
namespace {

/** A part of a symbol, and what a thread does whose top frames have it. */
struct Sign {
    std::string_view part;
    Doing doing;
    std::string_view words;
};

// Below nothing but the frames of kPolling. Deeper down they only say where a message came from.
constexpr Sign kIdleSigns[] = {
        {"joinThreadPool", Doing::Idle, "waits for binder calls to answer"},
        {"MessageQueue.nativePollOnce", Doing::Idle, "is idle: it waits for messages"},
        {"Looper::poll", Doing::Idle, "is idle: it waits for messages"},
};

constexpr std::string_view kPolling[] = {
        "epoll_",   "ioctl",   "syscall", "talkWithDriver", "getAndExecuteCommand",
        "art_jni_", "vsyscall"};

constexpr Sign kSigns[] = {
        {"BinderProxy.transact", Doing::BinderCall, "waits for the answer to a binder call"},
        {"IPCThreadState::waitForResponse", Doing::BinderCall,
         "waits for the answer to a binder call"},
        {"IPCThreadState::transact", Doing::BinderCall, "waits for the answer to a binder call"},
        {"hwbinder", Doing::BinderCall, "waits for the answer to a call of a hardware service"},
        {"Thread.sleep", Doing::Sleeps, "sleeps"},
        {"SystemClock.sleep", Doing::Sleeps, "sleeps"},
        {"nanosleep", Doing::Sleeps, "sleeps"},
        {"usleep", Doing::Sleeps, "sleeps"},
        {"QueuedWork.waitToFinish", Doing::Io, "waits until shared preferences are written"},
        {"SharedPreferencesImpl.awaitLoaded", Doing::Io, "waits until shared preferences are read"},
        {"SQLite", Doing::Io, "uses a database"},
        {"fsync", Doing::Io, "writes to storage"},
        {"fdatasync", Doing::Io, "writes to storage"},
        {"FileDescriptor.sync", Doing::Io, "writes to storage"},
        {"SocketInputStream", Doing::Network, "waits for the network"},
        {"Socket.connect", Doing::Network, "waits for the network"},
        {"Inet6AddressImpl.lookup", Doing::Network, "waits for a name server"},
        {"InetAddress.getByName", Doing::Network, "waits for a name server"},
        {"FileInputStream.read", Doing::Io, "reads a file"},
        {"FileOutputStream.write", Doing::Io, "writes a file"},
        {"WaitForGcToComplete", Doing::Gc, "waits for the garbage collector"},
        {"CollectGarbageInternal", Doing::Gc, "collects garbage"},
        {"Object.wait", Doing::Waits, "waits for another thread"},
        {"Unsafe.park", Doing::Waits, "waits for another thread"},
        {"LockSupport.park", Doing::Waits, "waits for another thread"},
        {"JvmtiMonitor", Doing::Waits, "is stopped by a debugger"},
        {"pthread_cond_", Doing::Waits, "waits for another thread"},
        {"pthread_mutex_lock", Doing::WaitsForLock, "waits for a mutex"},
        {"MutexLock", Doing::WaitsForLock, "waits for a mutex"},
};

/** States of ART and of Dalvik. */
constexpr Sign kStates[] = {
        {"Blocked", Doing::WaitsForLock, "waits for a lock"},
        {"MONITOR", Doing::WaitsForLock, "waits for a lock"},
        {"Runnable", Doing::Runs, "runs"},
        {"RUNNABLE", Doing::Runs, "runs"},
        {"SUSPENDED", Doing::Runs, "runs"},
        {"Suspended", Doing::Runs, "runs"},
        {"Sleeping", Doing::Sleeps, "sleeps"},
        {"TimedWaiting", Doing::Waits, "waits for another thread"},
        {"TIMED_WAIT", Doing::Waits, "waits for another thread"},
        {"WAIT", Doing::Waits, "waits for another thread"},
        {"WaitingForGcToComplete", Doing::Gc, "waits for the garbage collector"},
        {"Waiting", Doing::Waits, "waits for another thread"},
        {"Native", Doing::Unknown, "is in native code"},
        {"NATIVE", Doing::Unknown, "is in native code"},
        {"VMWAIT", Doing::Gc, "waits for the runtime"},
};

Activity idleActivity(const std::vector<Frame>& frames) {
    for (const Frame& frame : frames) {
        for (const Sign& sign : kIdleSigns) {
            if (contains(frame.symbol, sign.part)) return {sign.doing, sign.words, &frame};
        }
        const auto isPart = [&](std::string_view part) { return contains(frame.symbol, part); };
        if (std::none_of(std::begin(kPolling), std::end(kPolling), isPart)) break;
    }
    return {};
}

}  // namespace

Activity activityOf(const Thread& thread) {
    // The state of a thread at a lock is certain; frames below it say what it did before.
    for (const Sign& state : kStates) {
        if (!startsWith(thread.state, state.part)) continue;
        if (state.doing == Doing::WaitsForLock || state.doing == Doing::Runs) {
            return {state.doing, state.words, nullptr};
        }
    }
    if (const Activity idle = idleActivity(thread.frames); idle.frame != nullptr) return idle;
    constexpr size_t kTopFrames = 16;
    const size_t count = std::min(thread.frames.size(), kTopFrames);
    for (size_t i = 0; i < count; ++i) {
        for (const Sign& sign : kSigns) {
            if (contains(thread.frames[i].symbol, sign.part)) {
                return {sign.doing, sign.words, &thread.frames[i]};
            }
        }
    }
    for (const Sign& state : kStates) {
        if (startsWith(thread.state, state.part)) return {state.doing, state.words, nullptr};
    }
    return {};
}

const Thread* mainThread(const ThreadDump& dump) {
    const auto find = [&](auto matches) {
        const auto found = std::find_if(dump.threads.begin(), dump.threads.end(), matches);
        return found == dump.threads.end() ? nullptr : &*found;
    };
    // "main" can be the name of another thread too.
    if (const Thread* thread = find([](const Thread& t) { return t.tid == 1; })) return thread;
    if (dump.pid == 0) return find([](const Thread& t) { return t.name == "main"; });
    return find([&](const Thread& t) { return t.sysTid == dump.pid; });
}

std::string nameOf(const ThreadDump& dump, const Thread& thread) {
    if (&thread == mainThread(dump)) return "the main thread";
    if (thread.tid != 0) return fmt::format("thread \"{}\" (tid {})", thread.name, thread.tid);
    return fmt::format("thread \"{}\" (system tid {})", thread.name, thread.sysTid);
}

}  // namespace kaveldesk
