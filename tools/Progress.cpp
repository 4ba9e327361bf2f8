#include "tools/Progress.h"

#include <utility>

namespace android::kavel::tools {

Progress::Progress(const Output& output, std::string verb, size_t total)
      : mOutput(output),
        mVerb(std::move(verb)),
        mTotal(total),
        mNextShow(Clock::now() + std::chrono::seconds(1)) {}

Progress::~Progress() {
    if (mIsShown) mOutput.err << "\r\x1b[K" << std::flush;
}

void Progress::step() {
    ++mDone;
    if (!mOutput.isErrTerminal || Clock::now() < mNextShow) return;
    mOutput.err << "\r\x1b[K" << mVerb << ' ' << mDone << " of " << mTotal << " archives"
                << std::flush;
    mIsShown = true;
    mNextShow = Clock::now() + std::chrono::milliseconds(100);
}

}  // namespace android::kavel::tools
