#pragma once

#include <cstdint>
#include <string>

#include "dump/CatchTable.h"
#include "event/KavelEvent.h"

namespace android::kavel {

// Captures that are not plain commands: traces from the framework, from a process by signal, and
// from the platform's trace utility. Their files are written outside the log folder; the pack finds
// those that are nearest to the event's time. Times are wall-clock nanoseconds.

/** Both functions wait a limited time for the framework's reply (callFramework()). */
void callFrameworkDumpANRTrace(const KavelEvent& event);
void callFrameworkDumpSystrace();

/**
 * Signals the event's process to dump its stacks. Returns 0, or -1 if the signal could not be sent.
 */
int dumpSystemServerTraces(const KavelEvent& event);

/** Queues dumpNativeSystraceWithThread() if the trace flags are set. */
void callNativeDumpSystrace(const CatchRef& running);
/**
 * Task of a pool thread: flushes the native trace and copies its file to the collection directory.
 * The pack moves it from there into the log folder @p path.
 */
void dumpNativeSystraceWithThread(const KavelEvent& event, const std::string& path);
/** Returns the name of the native trace that is nearest to the event; empty if there is none. */
std::string getLatestNativeSystraceFilePath(const KavelEvent& event);

// Each function moves the trace that is nearest to @p timeNs into the folder @p path.

void packSystraceLog(const std::string& path, uint64_t timeNs);
void packSystemServerTraceLog(const std::string& path, uint64_t timeNs);
void packPreAnrTrace(const std::string& path, uint64_t timeNs);

}  // namespace android::kavel
