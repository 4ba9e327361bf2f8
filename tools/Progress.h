#pragma once

#include <chrono>
#include <string>

#include "tools/CommandLine.h"

namespace android::kavel::tools {

/**
 * A line about long work on the user's terminal: "checked 12 of 400 archives". It appears after a
 * second, and is removed at the end. Without a terminal there is none.
 */
class Progress {
  public:
    /** @param verb  such as "checked" */
    Progress(const Output& output, std::string verb, size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /** Notes that one more archive is done. */
    void step();

  private:
    using Clock = std::chrono::steady_clock;

    const Output& mOutput;
    const std::string mVerb;
    const size_t mTotal;
    size_t mDone = 0;
    Clock::time_point mNextShow;
    bool mIsShown = false;
};

}  // namespace android::kavel::tools
