#pragma once

#include <unistd.h>

#include <utility>

namespace kaveldesk {

/** A descriptor that it closes. */
class Fd {
  public:
    explicit Fd(int fd = -1) : mFd(fd) {}
    Fd(Fd&& other) noexcept : mFd(std::exchange(other.mFd, -1)) {}
    Fd& operator=(Fd&& other) noexcept {
        std::swap(mFd, other.mFd);
        return *this;
    }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
    ~Fd() {
        if (mFd >= 0) close(mFd);
    }

    int get() const { return mFd; }

  private:
    int mFd;
};

}  // namespace kaveldesk
