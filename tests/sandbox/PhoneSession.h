#pragma once

#include <string>
#include <vector>

#include "tests/fake/Eventually.h"
#include "tools/ArchiveReader.h"

namespace android::kavel::test {

// Functions for tests that run inside the simulated phone.

struct Result {
    int status;  ///< exit status; -1 if a signal ended the program
    std::string output;
};

/** Runs a program of the phone. The output includes standard error. */
Result run(const std::vector<std::string>& arguments);

/** Run `kavelctl set` and `kavelctl send` for the event type @p id. The test fails if they do. */
void configureEvent(const std::string& id, std::vector<std::string> arguments);
void sendEvent(const std::string& id, std::vector<std::string> arguments);

/** Waits until the daemon answers. Returns false if it does not. */
bool daemonIsUp();
int daemonPid();

/** Names in the collection directory, and in the staging directory, that begin with @p prefix. */
std::vector<std::string> archives(const std::string& prefix);
std::vector<std::string> stagedFolders(const std::string& prefix);

/**
 * Waits until there is exactly one archive that begins with @p prefix, its log folder is gone and
 * it can be read to its end. Otherwise the member `broken` of the result gives the reason.
 */
tools::ArchiveContents awaitArchive(const std::string& prefix);

/** Whether the name of a file of @p contents, without its folders, begins with @p stem. */
bool holds(const tools::ArchiveContents& contents, const std::string& stem);

/** The lines of the phone's main log, and the number of those that contain @p text. */
std::vector<std::string> logLines();
size_t logCount(const std::string& text);

}  // namespace android::kavel::test
