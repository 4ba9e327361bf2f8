#pragma once

#include <string>

namespace android::kavel::fake {

/**
 * Does what the shell would do below /data for mkdir, tar, mv, cp, rm and output into a file. An
 * archive contains the packed names, one in each line. Returns a wait status. For resetShell(), in
 * tests that have their own /data (kavel_add_test(... DATA)).
 */
int carryOut(const std::string& command);

}  // namespace android::kavel::fake
