#pragma once

#include <cstdint>

#include "dump/CatchTable.h"

namespace android::kavel {

/** Label of a catch's first round in LogFolder::openWork(). */
inline constexpr const char* kFirstRound = "the first round";

/**
 * Starts every command and capture that @p logInfo selects, into the folder of @p running. Waits
 * for no command. A command that is still queued when the pack begins is not started; one line says
 * so.
 */
void collectLog(uint32_t logInfo, const CatchRef& running);

/**
 * Pool task: runs @p cmd + time + ".txt" and records @p logBit as collected. The bit is recorded
 * whatever the status is: there will be no more of this log than there is now.
 */
void collectLogWithCmdExecuteThread(const std::string& cmd, uint32_t logBit,
                                    const CatchRef& running);

}  // namespace android::kavel
