#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace android::kavel::host {

/** A folder of the test's own, removed at its end. */
class TestFolder {
  public:
    TestFolder() : mPath(mkdtemp(std::string("/tmp/host_system_XXXXXX").data())) {}
    ~TestFolder() { std::filesystem::remove_all(mPath); }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    std::string operator/(const std::string& name) const { return mPath + "/" + name; }
    const std::string& path() const { return mPath; }

  private:
    const std::string mPath;
};

struct Outcome {
    int exitCode;
    std::string output; /**< Standard output and errors. */
};

/** Runs one of this room's programs, with a shell's words behind it. */
inline Outcome runProgram(const std::string& words) {
    FILE* pipe = popen((std::string(PROGRAM_FOLDER "/") + words + " 2>&1").c_str(), "re");
    Outcome outcome{-1, {}};
    for (int c = fgetc(pipe); c != EOF; c = fgetc(pipe)) {
        outcome.output.push_back(static_cast<char>(c));
    }
    const int status = pclose(pipe);
    if (WIFEXITED(status)) outcome.exitCode = WEXITSTATUS(status);
    return outcome;
}

}  // namespace android::kavel::host
