#pragma once

#include <cstdint>
#include <string>

#include "dump/CatchTable.h"
#include "event/KavelEvent.h"

namespace android::kavel {

// Captures that are not plain commands: traces asked of the framework, of a process by signal, and
// of the platform's trace utility. Their files appear outside the log folder; the pack looks for
// those that fit the event's time best. Times are wall-clock nanoseconds.

/** Both wait for the framework's answer, but not for ever (callFramework()). */
void callFrameworkDumpANRTrace(const KavelEvent& event);
void callFrameworkDumpSystrace();

/** Asks the event's process to dump its stacks. 0, or -1 if it could not be told. */
int dumpSystemServerTraces(const KavelEvent& event);

/** Queues dumpNativeSystraceWithThread() if the trace flags are set. */
void callNativeDumpSystrace(const CatchRef& running);
/** Pool task: flushes the native trace and copies its file to the collection directory. */
void dumpNativeSystraceWithThread(const KavelEvent& event);
/** The name of the native trace that fits the event best; empty if there is none. */
std::string getLatestNativeSystraceFilePath(const KavelEvent& event);

// Each of these moves the trace that fits @p timeNs best into the folder at @p path.

void packSystraceLog(const std::string& path, uint64_t timeNs);
void packSystemServerTraceLog(const std::string& path, uint64_t timeNs);
void packPreAnrTrace(const std::string& path, uint64_t timeNs);

}  // namespace android::kavel
