#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace android::kavel::host {

/**
 * A folder with one small file for each property. A value is written to another file and renamed,
 * so a reader sees either the old value or the new one. Any thread and process may read.
 */
class PropertyFolder {
  public:
    explicit PropertyFolder(std::string path) : mPath(std::move(path)) {}

    /** The value; nullopt if the name is not legal or there is no such property. */
    std::optional<std::string> read(const std::string& name) const;
    /** All properties, sorted by name. */
    std::map<std::string, std::string> readAll() const;
    /** Returns false with errno set if the value cannot be stored. One writer at a time. */
    bool write(const std::string& name, const std::string& value) const;
    /** Creates the folder if it is missing. Returns false with errno set on failure. */
    bool create() const;
    /** Removes all properties. */
    void clear() const;
    /**
     * Blocks until the property exists and has the value. Returns false at @p deadlineNs on
     * CLOCK_MONOTONIC (INT64_MAX: no limit), or at once if there is no folder.
     */
    bool waitFor(const std::string& name, const std::string& value, int64_t deadlineNs) const;

  private:
    std::string mPath;
};

}  // namespace android::kavel::host
