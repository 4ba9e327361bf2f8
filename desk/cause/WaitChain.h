#pragma once

#include <string>
#include <vector>

#include "desk/cause/Case.h"

namespace kaveldesk {

/** A thread of the chain, and how it waits for the next one. */
struct WaitStep {
    const ThreadDump* dump = nullptr;
    const Thread* thread = nullptr;
    const Lock* lock = nullptr;        // waited for; null if it waits for no lock
    const BinderCall* call = nullptr;  // waited for; null if it waits for none or none is listed
};

/** Who waits for whom, from one thread on. */
struct WaitChain {
    std::vector<WaitStep> steps;  // at least one
    size_t cycleStart = 0;        // index of the step that the last one waits for
    bool isCycle = false;

    const WaitStep& first() const { return steps.front(); }
    const WaitStep& last() const { return steps.back(); }
};

/** The place where @p thread took the lock @p id; null if it does not hold it. */
const Lock* heldLock(const Thread& thread, const std::string& id);

/** Follows locks to their holders and binder calls to the threads that serve them. */
WaitChain followWaits(const Case& c, const ThreadDump& dump, const Thread& thread);

/** Findings of kinds "@p kind.lock", ".lock-cycle", ".binder", ".holder" about @p chain. */
std::vector<Finding> chainFindings(const Case& c, const WaitChain& chain, const std::string& kind);

/** Continues "its main thread": what it waits for and what the end of the chain does. */
std::string chainWords(const Case& c, const WaitChain& chain);

/** Frames to group by: of the first thread, then of the one at the end of the chain. */
std::vector<std::string> chainSignature(const WaitChain& chain);

}  // namespace kaveldesk
