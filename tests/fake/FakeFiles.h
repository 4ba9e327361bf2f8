#pragma once

#include <string>

namespace android::kavel::fake {

/**
 * Does to the files below /data what the shell would do for mkdir, tar, mv, rm, echo and any output
 * that goes to a file; an archive holds the names that were packed, a line each. The wait status.
 * For resetShell(), in tests that run where /data is their own (kavel_add_test(... DATA)).
 */
int carryOut(const std::string& command);

}  // namespace android::kavel::fake
