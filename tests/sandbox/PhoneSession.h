#pragma once

#include <string>
#include <vector>

#include "tests/fake/Eventually.h"
#include "tools/ArchiveReader.h"

namespace android::kavel::test {

// What a test that runs inside the simulated phone does with it.

struct Result {
    int status;  ///< exit status, or -1 where the program did not end by itself
    std::string output;
};

/** Runs a program of the phone; standard output and error come back together. */
Result run(const std::vector<std::string>& arguments);

/** `kavelctl set` and `kavelctl send` for event type @p id; a failure is the test's. */
void configureEvent(const std::string& id, std::vector<std::string> arguments);
void sendEvent(const std::string& id, std::vector<std::string> arguments);

/** Waits until the daemon answers, so that the reports of a test find it. */
bool daemonIsUp();
int daemonPid();

/** Names in the collection directory, and in the staging directory, that begin with @p prefix. */
std::vector<std::string> archives(const std::string& prefix);
std::vector<std::string> stagedFolders(const std::string& prefix);

/**
 * The only archive that begins with @p prefix, once its folder is gone and it reads to its end: the
 * phone's tar ends before its gzip has written everything.
 */
tools::ArchiveContents awaitArchive(const std::string& prefix);

/** Whether a file of @p contents begins with @p stem, the folder not counted. */
bool holds(const tools::ArchiveContents& contents, const std::string& stem);

/** The sandbox's log, and how many of its lines hold @p text. */
std::vector<std::string> logLines();
size_t logCount(const std::string& text);

}  // namespace android::kavel::test
