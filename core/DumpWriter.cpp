#include "core/DumpWriter.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace android::kavel {
namespace {

using Clock = std::chrono::steady_clock;

/** Keeps a write to a closed pipe from ending the process with SIGPIPE. */
class PipeSignalBlock {
  public:
    PipeSignalBlock() {
        sigemptyset(&mPipe);
        sigaddset(&mPipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &mPipe, &mBefore);
    }
    PipeSignalBlock(const PipeSignalBlock&) = delete;
    PipeSignalBlock& operator=(const PipeSignalBlock&) = delete;
    ~PipeSignalBlock() {
        // The signal is sent to the writing thread. Taken here, or it would arrive now.
        const timespec now = {};
        sigtimedwait(&mPipe, nullptr, &now);
        pthread_sigmask(SIG_SETMASK, &mBefore, nullptr);
    }

  private:
    sigset_t mPipe = {};
    sigset_t mBefore = {};
};

/**
 * Waits until @p fd can be written to. Returns false if it cannot at @p end. A reader who reads is
 * not to blame if this thread itself was stopped until then.
 */
bool awaitWritable(int fd, Clock::time_point end) {
    using std::chrono::milliseconds;
    while (true) {
        const auto left =
                std::max(std::chrono::ceil<milliseconds>(end - Clock::now()), milliseconds(0));
        pollfd writable = {fd, POLLOUT, 0};
        const int ready = poll(&writable, 1, static_cast<int>(left.count()));
        if (ready > 0) return true;
        if (ready < 0 && errno != EINTR) return true;  // the write finds the error
        if (ready == 0 && left.count() == 0) return false;
    }
}

}  // namespace

status_t writeWithin(int fd, std::string_view text, std::chrono::milliseconds patience) {
    struct stat info = {};
    if (fstat(fd, &info) != 0) return -errno;
    const bool isSocket = S_ISSOCK(info.st_mode);
    if (!isSocket && !S_ISFIFO(info.st_mode) && !S_ISREG(info.st_mode)) return BAD_TYPE;

    const PipeSignalBlock noSignal;
    const Clock::time_point end = Clock::now() + patience;
    while (!text.empty()) {
        if (!awaitWritable(fd, end)) return TIMED_OUT;
        // A pipe that can be written to has space for this many bytes (pipe(7)), so the write does
        // not block.
        const size_t size = std::min(text.size(), size_t{PIPE_BUF});
        const ssize_t written =
                isSocket ? send(fd, text.data(), size, MSG_DONTWAIT) : write(fd, text.data(), size);
        if (written >= 0) {
            text.remove_prefix(static_cast<size_t>(written));
        } else if (errno != EINTR && errno != EAGAIN) {
            return -errno;
        }
    }
    return NO_ERROR;
}

}  // namespace android::kavel
