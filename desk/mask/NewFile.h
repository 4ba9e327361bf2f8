#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kaveldesk {

/**
 * A file that has its name only when it is complete. Until then it is a temporary file in the same
 * folder, mode 0600, which the destructor removes. Errors throw std::runtime_error.
 */
class NewFile {
  public:
    enum class IfExists { Fail, Replace };

    explicit NewFile(std::filesystem::path path);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    int fd() const { return mFd; }
    void write(std::string_view bytes);
    /** Writes the file to the disk and gives it its name. */
    void publish(IfExists if_exists);

  private:
    std::filesystem::path mPath;
    std::string mTemporary;  // empty once the file has its name
    int mFd;
};

/** Writes all of @p bytes. Returns an errno value, 0 for success. */
int writeAll(int fd, std::string_view bytes);

}  // namespace kaveldesk
