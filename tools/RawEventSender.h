#pragma once

#include <android-base/unique_fd.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <utility>

namespace android::kavel::tools {

/** Client of the daemon's control socket. Not synchronised. */
class RawEventSender {
  public:
    /**
     * Connects when the first record is sent: the daemon serves only one connection, so a
     * connection without records would waste it.
     *
     * @param patience  maximum time for which the daemon may leave a record unread
     */
    RawEventSender(std::string path, std::chrono::milliseconds patience)
          : mPath(std::move(path)), mPatience(patience) {}

    /**
     * Sends one record and its NUL. Returns when it has been read.
     *
     * @throws CommandError if no process listens, or the record is not read
     */
    void send(const std::string& record);

    /** Returns the number of records that have been read. */
    size_t sent() const { return mSent; }

  private:
    void connect();
    void awaitReader() const;
    [[noreturn]] void fail(const std::string& reason) const;

    const std::string mPath;
    const std::chrono::milliseconds mPatience;
    base::unique_fd mConnection;
    base::unique_fd mBarrier;
    size_t mSent = 0;
};

}  // namespace android::kavel::tools
