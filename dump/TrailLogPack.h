#pragma once

#include <cstdint>
#include <string>

#include "dump/CatchTable.h"
#include "event/KavelEvent.h"

namespace android::kavel {

/**
 * Adds what the event's type asks for, waits for the commands, and packs the folder of @p running.
 *
 * @param needPackAnrStacktrace  see packAnrStacktrace()
 */
void trailLogPack(const CatchRef& running, int needPackAnrStacktrace);

/** Appends the names and versions of the event to extraInfo.txt in @p path. */
void packExtraInfo(const KavelEvent& event, const std::string& path);
/** Moves the framework's backtrace for event type @p eventId into @p path, if it writes one. */
void packTargetBacktrace(const std::string& path, int64_t eventId);
/**
 * Takes the ANR traces of @p pid next to @p timeNs (wall clock) into @p path.
 *
 * @param needPackAnrStacktrace  1: moves the daemon's own traces of the process, 2: copies all of
 * its ANR files, anything else: nothing
 */
void packAnrStacktrace(int pid, const std::string& path, int needPackAnrStacktrace,
                       uint64_t timeNs);
/** The value of that parameter for an event of these log-selection bits. */
int anrStacktraceFlag(uint32_t logInfo);
/** Copies the newest tombstone that is text into @p path. */
void packNativeTombstones(const std::string& path);

}  // namespace android::kavel
