#pragma once

#include <android-base/unique_fd.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <utility>

namespace android::kavel::tools {

/** The client's end of the daemon's control socket. Not synchronised. */
class RawEventSender {
  public:
    /**
     * Connects with the first record only: the daemon serves no other connection, so one that
     * carries nothing would be a waste.
     *
     * @param patience  how long the daemon may leave a record unread
     */
    RawEventSender(std::string path, std::chrono::milliseconds patience)
          : mPath(std::move(path)), mPatience(patience) {}

    /**
     * Sends one record and its NUL; returns once it has been read.
     *
     * @throws CommandError where nobody listens, or the record is not read
     */
    void send(const std::string& record);

    /** How many records have been read. */
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
