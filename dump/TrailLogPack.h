#pragma once

#include <cstdint>
#include <string>

#include "dump/CatchTable.h"
#include "event/KavelEvent.h"

namespace android::kavel {

/**
 * Adds the files for the event type, waits for the commands, and packs the folder of @p running.
 * The spelling "trail" is required: the name is part of the interface.
 *
 * @param needPackAnrStacktrace  see packAnrStacktrace()
 */
void trailLogPack(const CatchRef& running, int needPackAnrStacktrace);

/** Appends the event's process name, version and type to extraInfo.txt in @p path. */
void packExtraInfo(const KavelEvent& event, const std::string& path);
/** Moves the framework's backtrace for the event's type into @p path, if there is one. */
void packTargetBacktrace(const KavelEvent& event, const std::string& path);
/**
 * Collects the ANR traces of the event's process in @p path: those nearest to the event's time.
 *
 * @param needPackAnrStacktrace  1 moves the daemon's own traces of the process, 2 copies all of its
 *                               ANR files, any other value does nothing
 */
void packAnrStacktrace(const KavelEvent& event, const std::string& path, int needPackAnrStacktrace);
/** Returns the needPackAnrStacktrace value for these log-selection bits. */
int anrStacktraceFlag(uint32_t logInfo);
/** Copies the newest tombstone in text form into @p path. */
void packNativeTombstones(const std::string& path);

}  // namespace android::kavel
