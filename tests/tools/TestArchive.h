#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace android::kavel::tools {

/** A folder below the temporary directory, removed at the end. */
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return mPath; }
    /** Writes a file and returns its path. */
    std::filesystem::path write(const std::string& name, const std::string& bytes) const;

  private:
    std::filesystem::path mPath;
};

using FileTexts = std::vector<std::pair<std::string, std::string>>;

/** A tar archive of @p files, named as the daemon's tar names them below @p folder. */
std::string tarBytes(const std::string& folder, const FileTexts& files);

std::string gzipBytes(const std::string& bytes);

}  // namespace android::kavel::tools
