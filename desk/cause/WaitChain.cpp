#include "desk/cause/WaitChain.h"

#include <algorithm>
#include <iterator>

namespace kaveldesk {
namespace {

/** The lock that keeps a thread from going on. Object.wait() gives its lock back: it is none. */
const Lock* waitedLock(const Thread& thread) {
    for (const Lock& lock : thread.locks) {
        if (lock.relation == Lock::Relation::WaitsToLock) return &lock;
        const bool isOther = lock.heldByTid != 0 && lock.heldByTid != thread.tid;
        if (lock.relation == Lock::Relation::WaitsOn && isOther) return &lock;
    }
    return nullptr;
}

const Thread* holderOf(const ThreadDump& dump, const Thread& waiter, const Lock& lock) {
    const auto find = [&](auto matches) {
        const auto found = std::find_if(dump.threads.begin(), dump.threads.end(), matches);
        return found == dump.threads.end() ? nullptr : &*found;
    };
    if (lock.heldByTid != 0) return find([&](const Thread& t) { return t.tid == lock.heldByTid; });
    if (lock.id.empty()) return nullptr;
    return find([&](const Thread& t) { return &t != &waiter && heldLock(t, lock.id) != nullptr; });
}

const BinderCall* callOf(const Case& c, const ThreadDump& dump, const Thread& thread) {
    if (thread.sysTid == 0) return nullptr;
    const auto matches = [&](const BinderCall& call) {
        return call.fromPid == dump.pid && call.fromTid == thread.sysTid;
    };
    const auto found = std::find_if(c.binderCalls.begin(), c.binderCalls.end(), matches);
    return found == c.binderCalls.end() ? nullptr : &*found;
}

bool servedBy(const Case& c, const BinderCall& call, WaitStep& next) {
    for (const ThreadDump& dump : c.dumps) {
        if (dump.pid != call.toPid || call.toTid == 0) continue;
        for (const Thread& thread : dump.threads) {
            if (thread.sysTid != call.toTid || thread.frames.empty()) continue;
            next = {&dump, &thread};
            return true;
        }
    }
    return false;
}

/** Fills in what @p step waits for, and gives the thread behind it. */
bool nextStep(const Case& c, WaitStep& step, WaitStep& next) {
    step.lock = waitedLock(*step.thread);
    if (step.lock != nullptr) {
        const Thread* holder = holderOf(*step.dump, *step.thread, *step.lock);
        next = {step.dump, holder};
        return holder != nullptr;
    }
    // With a list of calls there is no need to guess from frames: some stacks cannot be read.
    step.call = callOf(c, *step.dump, *step.thread);
    return step.call != nullptr && servedBy(c, *step.call, next);
}

/** Longer chains occur in no phone; each step looks at all threads. */
constexpr size_t kMaxSteps = 100;

}  // namespace

const Lock* heldLock(const Thread& thread, const std::string& id) {
    for (const Lock& lock : thread.locks) {
        if (lock.relation == Lock::Relation::Holds && lock.id == id) return &lock;
    }
    return nullptr;
}

WaitChain followWaits(const Case& c, const ThreadDump& dump, const Thread& thread) {
    WaitChain chain;
    WaitStep step{&dump, &thread};
    while (true) {
        WaitStep next;
        const bool goesOn = nextStep(c, step, next);
        chain.steps.push_back(step);
        if (!goesOn || chain.steps.size() == kMaxSteps) return chain;
        const auto isNext = [&](const WaitStep& known) { return known.thread == next.thread; };
        const auto known = std::find_if(chain.steps.begin(), chain.steps.end(), isNext);
        if (known != chain.steps.end()) {
            chain.isCycle = true;
            chain.cycleStart = static_cast<size_t>(std::distance(chain.steps.begin(), known));
            return chain;
        }
        step = next;
    }
}

}  // namespace kaveldesk
