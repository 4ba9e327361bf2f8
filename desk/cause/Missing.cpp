#include "desk/cause/Missing.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include <fmt/core.h>

#include "desk/cause/FrameNames.h"
#include "desk/parse/Text.h"
#include "dump/LogCommands.h"

namespace kaveldesk {
namespace {

using android::kavel::kLogBits;
using android::kavel::kLogCommands;
using android::kavel::LogCommand;

/** What commands write in place of their result. */
constexpr std::string_view kErrors[] = {"Can't find service",
                                        "Permission denied",
                                        "Operation not permitted",
                                        "No such file or directory",
                                        "inaccessible or not found",
                                        "command not found",
                                        "DUMP TIMEOUT",
                                        "Failure while dumping",
                                        "Failed to",
                                        "failed:",
                                        "Error:",
                                        "Unknown command",
                                        "Invalid argument",
                                        "not supported"};

std::string_view bitName(uint32_t bit) {
    for (const auto& row : kLogBits) {
        if (row.bit == bit) return row.name;
    }
    return "?";
}

/** The error message that is all of @p text; empty if it holds more, or no error. */
std::string_view onlyError(std::string_view text) {
    constexpr size_t kLongest = 400;
    constexpr auto kMostLines = 3;
    if (text.size() > kLongest || std::count(text.begin(), text.end(), '\n') > kMostLines)
        return {};
    Lines lines(text);
    for (std::string_view line; lines.next(line);) {
        const auto isIn = [&](std::string_view error) { return contains(line, error); };
        if (std::any_of(std::begin(kErrors), std::end(kErrors), isIn)) return trim(line);
    }
    return {};
}

bool isBlank(std::string_view text) {
    return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

/** The command's text without the redirection. */
std::string_view commandOf(const LogCommand& command) {
    return trim(until(command.head, ">"));
}

bool isOf(const EvidenceFile& file, const LogCommand& command) {
    return startsWith(lastPart(file.name, "/"), std::string_view(command.stem).substr(1));
}

void addAbsent(const Evidence& evidence, std::vector<std::string>& missing) {
    const auto& files = evidence.files;
    for (const LogCommand& command : kLogCommands) {
        if ((evidence.incident.mask & command.testBit) == 0) continue;
        const auto matches = [&](const EvidenceFile& file) { return isOf(file, command); };
        if (std::any_of(files.begin(), files.end(), matches)) continue;
        missing.push_back(
                fmt::format("There is no file of \"{}\", which the mask asks for ({}){}.",
                            commandOf(command), bitName(command.testBit),
                            command.heavy ? "; such dumps run once in 30 seconds only" : ""));
    }
    // The framework writes these on request; no command of the table does.
    const bool asksForTrace = (evidence.incident.mask & android::KAVEL_LOGINFO_ANR_TRACE) != 0;
    const auto isTrace = [](const EvidenceFile& file) { return file.kind == FileKind::AnrTrace; };
    if (asksForTrace && std::none_of(files.begin(), files.end(), isTrace)) {
        missing.push_back(
                "There are no stacks by the framework, which the mask asks for (ANR_TRACE).");
    }
}

bool hasStacksOf(const Case& c, const std::string& process) {
    return std::any_of(c.dumps.begin(), c.dumps.end(), [&](const ThreadDump& dump) {
        return process.empty() || processName(dump.process) == processName(process);
    });
}

bool hasTrace(const Case& c) {
    return hasStacksOf(c, c.evidence.incident.process);
}

bool hasTombstone(const Case& c) {
    return !c.tombstones.empty();
}

bool hasException(const Case& c) {
    return std::any_of(c.facts.facts.begin(), c.facts.facts.end(),
                       [](const Fact& fact) { return !fact.frames.empty(); });
}

/** What the analysis of a kind rests on, whatever the mask says. */
constexpr struct {
    std::string_view kind;
    bool (*isThere)(const Case& c);
    std::string_view sentence;
} kNeeds[] = {
        {"anr", hasTrace, "There is no trace with the stacks of the process that did not respond."},
        {"native-crash", hasTombstone, "There is no tombstone with the stack of a native crash."},
        {"java-crash", hasException, "There is no stack of a Java exception."},
};

}  // namespace

std::vector<std::string> missingEvidence(const Case& c, std::string_view kind,
                                         const std::vector<std::string_view>& wanted) {
    const Evidence& evidence = c.evidence;
    std::vector<std::string> missing;
    for (const auto& need : kNeeds) {
        const bool isAsked = kind == need.kind ||
                             (kind == "unknown" &&
                              std::find(wanted.begin(), wanted.end(), need.kind) != wanted.end());
        if (isAsked && !need.isThere(c)) missing.emplace_back(need.sentence);
    }
    addAbsent(evidence, missing);
    for (const EvidenceFile& file : evidence.files) {
        if (file.size == 0 || (isBlank(file.text) && file.size == file.text.size())) {
            missing.push_back(fmt::format("{} is empty.", file.name));
        } else if (const std::string_view error = onlyError(file.text); !error.empty()) {
            missing.push_back(fmt::format("{} holds only an error message: {}.", file.name, error));
        }
    }
    for (const ThreadDump& dump : c.dumps) {
        if (dump.isComplete) continue;
        missing.push_back(fmt::format("{} ends inside the stacks of {}.",
                                      evidence.files[dump.file].name,
                                      dump.process.empty() ? "a process" : dump.process));
    }
    return missing;
}

}  // namespace kaveldesk
