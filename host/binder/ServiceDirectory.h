#pragma once

#include <android-base/unique_fd.h>

#include <chrono>
#include <string>

// Every registered service is one listening socket, named after the service, in one directory.
namespace android::kavel::host {

/** What the real service manager accepts, except that no name may begin with a dot. */
bool isValidServiceName(const std::string& name);

/** Path of the socket of service @p name. */
std::string servicePath(const std::string& name);

/**
 * Makes a listening socket known under @p name, in place of any other, open to every user.
 *
 * @param address  receives the address that connectTo() reports for this very socket: no other
 *                 socket ever carries it, so it tells a server from its successors
 * @return the socket, non-blocking; none on failure, with errno set
 */
base::unique_fd listenAs(const std::string& name, std::string* address);

/** A connection to the socket at @p path and that socket's address; none on failure, with errno. */
base::unique_fd connectTo(const std::string& path, std::string* address);

/** Notices names that appear in the directory after its construction. */
class DirectoryWatch {
  public:
    using Clock = std::chrono::steady_clock;

    DirectoryWatch();
    /** Waits for a change; false at @p deadline (time_point::max() for none) or on failure. */
    bool wait(Clock::time_point deadline);

  private:
    base::unique_fd mFd;
};

}  // namespace android::kavel::host
