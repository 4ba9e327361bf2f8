#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace android::kavel::test {

/** A new, empty directory, which is removed with its contents at the end of the scope. */
class TempDir {
  public:
    TempDir() : mPath((std::filesystem::temp_directory_path() / "kavel.XXXXXX").string()) {
        if (mkdtemp(mPath.data()) == nullptr) std::abort();
    }
    ~TempDir() { std::filesystem::remove_all(mPath); }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::string operator/(const std::string& name) const { return mPath + "/" + name; }
    /** Writes a file and returns its path. */
    std::string write(const std::string& name, const std::string& bytes) const {
        std::ofstream(*this / name, std::ios::binary) << bytes;
        return *this / name;
    }

  private:
    std::string mPath;
};

inline std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/** Creates a sparse file of @p size bytes. */
inline void makeFile(const std::string& path, uintmax_t size = 0) {
    std::ofstream(path).close();
    std::filesystem::resize_file(path, size);
}

}  // namespace android::kavel::test
