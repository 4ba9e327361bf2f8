#pragma once

#include <string>
#include <vector>

namespace android::kavel::test {

/**
 * Texts that a careless command would run, expand or split. Each tries to leave a file CANARY in
 * the working directory. None holds a "/", so that each can name a folder too.
 */
extern const std::vector<std::string> kHostileValues;

/** Where runRealShell() works: a directory and a PATH, or what this process has. */
struct ShellPlace {
    std::string directory = ".";
    std::vector<std::string> environment;
};

/** Runs the real /bin/sh, its own complaints discarded; the wait status. Any thread. */
int runRealShell(const std::string& script, const std::vector<std::string>& options,
                 const ShellPlace& place = {});

}  // namespace android::kavel::test
