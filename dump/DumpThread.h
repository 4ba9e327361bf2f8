#pragma once

#include <functional>

#include "dump/CatchTable.h"

namespace android::kavel {

/**
 * Runs @p body on a detached thread that keeps @p running alive until the body has returned. An
 * exception of the body is logged and goes no further.
 *
 * @throws std::system_error if no thread can be created
 */
void startDumpThread(CatchRef running, std::function<void()> body);

}  // namespace android::kavel
