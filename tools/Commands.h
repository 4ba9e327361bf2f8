#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tools/CommandLine.h"
#include "tools/HelpText.h"

namespace android::kavel::tools {

extern const Command kSetCommand;
extern const Command kSendCommand;
extern const Command kListCommand;
extern const Command kShowCommand;
extern const Command kExplainCommand;
extern const Command kStatsCommand;
extern const Command kCatCommand;
extern const Command kExtractCommand;
extern const Command kVerifyCommand;
extern const Command kPruneCommand;
extern const Command kWaitCommand;
extern const Command kWatchCommand;
extern const Command kRawCommand;
extern const Command kStatusCommand;
extern const Command kWhyCommand;

/** Options that have the same meaning in several commands. */
inline constexpr Option kDirOption{
        "dir", "DIR", "the collection directory (default: /data/persist_log/PLX/de/kavel)"};
inline constexpr Option kJsonOption{"json", "", "print one JSON document"};

inline constexpr Option kFileOption{
        "file", "PATH", "the file of statistics (default: /data/persist_log/PLX/statistics.jsonl)"};

/** Returns the value of kFileOption, or its default. */
std::filesystem::path statisticPath(const Arguments& arguments);

/** Returns the value of kDirOption, or its default. */
std::filesystem::path directoryOf(const Arguments& arguments);

/** Returns all commands, in the order of the help. */
const CommandList& allCommands();

/** Runs the program. @p words are the arguments without the program's name. @return exit code */
int runKavelctl(const std::vector<std::string>& words, const Output& output);

}  // namespace android::kavel::tools
