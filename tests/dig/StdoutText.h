#pragma once

#include <cstdio>
#include <string>

namespace android::kavel::test {

/** Takes what goes to standard output from construction to destruction; shows it where the test
 * fails. */
class StdoutText {
  public:
    StdoutText();
    ~StdoutText();
    StdoutText(const StdoutText&) = delete;
    StdoutText& operator=(const StdoutText&) = delete;

    /** What has been printed so far. */
    std::string text() const;

  private:
    FILE* mText;
    int mStdout;
};

}  // namespace android::kavel::test
