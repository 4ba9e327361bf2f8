#pragma once

#include <cstdint>

#include "dump/CatchTable.h"

namespace android::kavel {

/** Label of a catch's first round in LogFolder::openWork(). */
inline constexpr const char* kFirstRound = "the first round";

/**
 * Starts all commands and captures that @p logInfo selects, for the folder of @p running. Does not
 * wait for commands. A command that is still queued when the pack begins is not started, and one
 * line says so.
 */
void collectLog(uint32_t logInfo, const CatchRef& running);

/**
 * Pool task: runs @p cmd + time + ".txt" and records @p logBit as collected. The bit is recorded
 * even if the command fails, because it does not run again.
 */
void collectLogWithCmdExecuteThread(const std::string& cmd, uint32_t logBit,
                                    const CatchRef& running);

}  // namespace android::kavel
