#include "tests/sandbox/PhoneSession.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "dump/LogFolderName.h"
#include "platform/ShellQuote.h"

namespace fs = std::filesystem;

namespace android::kavel::test {
namespace {

bool beginsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

std::vector<std::string> namesIn(const char* directory, const std::string& prefix) {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        const std::string name = entry.path().filename();
        if (beginsWith(name, prefix)) names.push_back(name);
    }
    return names;
}

}  // namespace

Result run(const std::vector<std::string>& arguments) {
    std::string command;
    for (const std::string& argument : arguments) {
        command += argument.empty() ? "'' " : shellQuote(argument) + " ";
    }
    Result result = {-1, ""};
    FILE* const pipe = popen((command + "2>&1").c_str(), "re");
    if (pipe == nullptr) return result;
    char buffer[4096];
    while (const size_t length = fread(buffer, 1, sizeof(buffer), pipe)) {
        result.output.append(buffer, length);
    }
    const int status = pclose(pipe);
    if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
    return result;
}

void configureEvent(const std::string& id, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"kavelctl", "set", id});
    const Result set = run(arguments);
    EXPECT_EQ(set.status, 0) << set.output;
}

void sendEvent(const std::string& id, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"kavelctl", "send", id});
    const Result sent = run(arguments);
    EXPECT_EQ(sent.status, 0) << sent.output;
}

bool daemonIsUp() {
    return eventually([] {
        return run({"kavelctl", "set", "0x7fff", "--name", "probe"}).status == 0;
    });
}

int daemonPid() {
    // A child of the daemon has its name until it runs another program.
    std::set<int> pids;
    std::istringstream output(run({"pidof", "dravo_kavel"}).output);
    for (int pid = 0; output >> pid;) pids.insert(pid);
    for (const int pid : pids) {
        std::ifstream status("/proc/" + std::to_string(pid) + "/status");
        std::string word;
        while (status >> word && word != "PPid:") {
        }
        int parent = 0;
        if (status >> parent && pids.count(parent) == 0) return pid;
    }
    return 0;
}

std::vector<std::string> archives(const std::string& prefix) {
    return namesIn(kArchiveDirectory, prefix);
}

std::vector<std::string> stagedFolders(const std::string& prefix) {
    return namesIn(kLogFolderRoot, prefix);
}

tools::ArchiveContents awaitArchive(const std::string& prefix) {
    tools::ArchiveContents contents;
    eventually([&] {
        const std::vector<std::string> names = archives(prefix);
        contents.broken = std::to_string(names.size()) + " archives of " + prefix;
        if (names.size() != 1 || !stagedFolders(prefix).empty()) return false;
        contents = tools::readArchive(fs::path(kArchiveDirectory) / names.front(), UINT64_MAX);
        return contents.broken.empty();
    });
    return contents;
}

bool holds(const tools::ArchiveContents& contents, const std::string& stem) {
    return std::any_of(contents.files.begin(), contents.files.end(),
                       [&](const tools::ArchivedFile& file) {
                           return beginsWith(fs::path(file.name).filename(), stem);
                       });
}

std::vector<std::string> logLines() {
    std::vector<std::string> lines;
    std::ifstream log("/dev/log/main");
    for (std::string line; std::getline(log, line);) lines.push_back(line);
    return lines;
}

size_t logCount(const std::string& text) {
    const std::vector<std::string> lines = logLines();
    return static_cast<size_t>(std::count_if(
            lines.begin(), lines.end(),
            [&](const std::string& line) { return line.find(text) != std::string::npos; }));
}

}  // namespace android::kavel::test
