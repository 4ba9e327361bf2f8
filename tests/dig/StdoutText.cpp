#include "tests/dig/StdoutText.h"

#include <cstdio>

#include <unistd.h>

#include <gtest/gtest.h>

namespace android::kavel::test {

StdoutText::StdoutText() : mText(tmpfile()), mStdout(dup(STDOUT_FILENO)) {
    fflush(stdout);
    dup2(fileno(mText), STDOUT_FILENO);
}

StdoutText::~StdoutText() {
    const std::string taken = text();
    dup2(mStdout, STDOUT_FILENO);
    // The reasons of a failure are in it too.
    if (testing::Test::HasFailure()) printf("%s\n", taken.c_str());
    close(mStdout);
    fclose(mText);
}

std::string StdoutText::text() const {
    fflush(stdout);
    std::string text(static_cast<size_t>(lseek(fileno(mText), 0, SEEK_END)), '\0');
    const ssize_t count = pread(fileno(mText), text.data(), text.size(), 0);
    text.resize(count < 0 ? 0 : static_cast<size_t>(count));
    return text;
}

}  // namespace android::kavel::test
