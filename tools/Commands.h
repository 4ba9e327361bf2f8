#pragma once

#include <string>
#include <vector>

#include "tools/CommandLine.h"

namespace android::kavel::tools {

extern const Command kSetCommand;
extern const Command kSendCommand;
extern const Command kListCommand;
extern const Command kShowCommand;
extern const Command kExplainCommand;
extern const Command kStatsCommand;
extern const Command kRawCommand;

/** Runs the program. @p words are the arguments without the program's name. @return exit code */
int runKavelctl(const std::vector<std::string>& words, const Output& output);

}  // namespace android::kavel::tools
