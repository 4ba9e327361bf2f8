#pragma once

#include <android-base/unique_fd.h>

#include <chrono>
#include <string>

// Each registered service is a listening socket in one directory, named after the service.
namespace android::kavel::host {

/** Applies the real service manager's rules; also refuses a dot at the start of a name. */
bool isValidServiceName(const std::string& name);

/** Returns the path of the socket of service @p name. */
std::string servicePath(const std::string& name);

/**
 * Creates a listening socket for the service @p name, to which every user can connect. Replaces an
 * earlier socket of that name.
 *
 * @param address  receives the address that connectTo() returns for this socket; it is unique, so a
 *                 client can tell whether the server has been replaced
 * @return the non-blocking socket; an invalid one on failure, with errno set
 */
base::unique_fd listenAs(const std::string& name, std::string* address);

/**
 * Connects to the socket at @p path and stores the address of that socket. On failure, returns an
 * invalid descriptor, with errno set.
 */
base::unique_fd connectTo(const std::string& path, std::string* address);

/** Waits for services that are registered after its construction. */
class DirectoryWatch {
  public:
    using Clock = std::chrono::steady_clock;

    DirectoryWatch();
    /** Returns false at @p deadline (time_point::max(): no deadline) or on failure. */
    bool wait(Clock::time_point deadline);

  private:
    base::unique_fd mFd;
};

}  // namespace android::kavel::host
