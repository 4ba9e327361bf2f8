#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace kaveldesk {

/**
 * Holds the content of one member until its size is known, in memory or, if it is large, in a file
 * without a name. Errors throw std::runtime_error.
 */
class Spool {
  public:
    /** @param folder for the file; on the disk of the result, so that the space is there. */
    explicit Spool(std::filesystem::path folder) : mFolder(std::move(folder)) {}
    ~Spool();
    Spool(const Spool&) = delete;
    Spool& operator=(const Spool&) = delete;

    void add(std::string_view bytes);
    uint64_t size() const { return mSize; }
    /** Hands all of the content over, block by block. */
    void read(const std::function<void(std::string_view)>& sink) const;

  private:
    void flush();

    std::filesystem::path mFolder;
    std::string mMemory;  // what is not in the file
    int mFd = -1;
    uint64_t mInFile = 0;
    uint64_t mSize = 0;
};

}  // namespace kaveldesk
