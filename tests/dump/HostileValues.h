#pragma once

#include <string>
#include <vector>

namespace android::kavel::test {

/**
 * Texts that a careless command would run, expand or split. Each tries to leave a file CANARY in
 * the working directory. None holds a "/", so that each can name a folder too.
 */
extern const std::vector<std::string> kHostileValues;

}  // namespace android::kavel::test
