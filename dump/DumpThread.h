#pragma once

#include <functional>

#include "dump/CatchTable.h"

namespace android::kavel {

/**
 * Runs @p body on a detached thread that keeps @p running alive until the body has returned. An
 * exception from the body is logged and ends only this thread.
 *
 * @throws std::system_error if no thread can be created
 */
void startDumpThread(CatchRef running, std::function<void()> body);

}  // namespace android::kavel
