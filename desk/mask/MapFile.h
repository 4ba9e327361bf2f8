#pragma once

#include <filesystem>

#include "desk/mask/Pseudonyms.h"

namespace kaveldesk {

/**
 * The file that keeps pseudonyms from run to run: JSON, mode 0600, because it has the values
 * themselves. From construction to destruction no other run can use it.
 */
class MapFile {
  public:
    /**
     * Opens and locks the file, or creates it. Throws std::runtime_error if another run uses it, if
     * it is a symbolic link or not a file, or if other users may read it.
     */
    explicit MapFile(std::filesystem::path path);
    ~MapFile();
    MapFile(const MapFile&) = delete;
    MapFile& operator=(const MapFile&) = delete;

    /** Reads the file. Throws std::runtime_error if it is not a map of this version. */
    Pseudonyms load() const;
    /** Replaces the file as a whole. Throws std::runtime_error. */
    void save(const Pseudonyms& pseudonyms) const;

  private:
    std::filesystem::path mPath;
    int mFd;  // holds the lock
};

}  // namespace kaveldesk
