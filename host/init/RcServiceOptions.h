#pragma once

#include <string>
#include <vector>

#include "host/init/RcScript.h"

namespace android::kavel::host {

/** Applies one option line to @p service. What is wrong with the line, or an empty text. */
std::string applyServiceOption(const std::vector<std::string>& words, RcService* service);

}  // namespace android::kavel::host
