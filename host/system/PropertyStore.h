#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace android::kavel::host {

/**
 * A folder with one small file for each property. A value is written aside and renamed, so a
 * reader sees either the whole old or the whole new one. Legal names never begin with a dot: the
 * folder's own files do.
 */
class PropertyFolder {
  public:
    explicit PropertyFolder(std::string path) : mPath(std::move(path)) {}

    /** Nothing if the name is not legal or no such property exists. Any thread. */
    std::optional<std::string> read(const std::string& name) const;
    /** All properties, sorted by name. */
    std::map<std::string, std::string> readAll() const;
    /** False with errno set. With `durable` the value outlives a power cut. */
    bool write(const std::string& name, const std::string& value, bool durable) const;
    /** Makes the folder if it is not there; false with errno set. */
    bool create() const;
    /** Removes every property and what an interrupted write left behind. */
    void clear() const;

    const std::string& path() const { return mPath; }

  private:
    std::string mPath;
};

/**
 * The number that counts the sets of a store, mapped from a file of its folder and shared by all
 * processes. Unchanged number, unchanged values: one atomic load keeps a cache honest.
 */
class PropertySerial {
  public:
    PropertySerial() = default;
    ~PropertySerial();
    PropertySerial(const PropertySerial&) = delete;
    PropertySerial& operator=(const PropertySerial&) = delete;

    enum class Access { kRead, kWrite };
    /** Maps the number; only a writer creates it. False with errno set. Thread-safe. */
    bool attach(const std::string& folder, Access access);
    bool attached() const { return mNumber.load(std::memory_order_acquire) != nullptr; }

    /** Requires attached(). */
    uint32_t load() const;
    /** Counts up and wakes all waiters. Requires attachment for writing. */
    void bump();
    /**
     * Blocks while the number is `seen`, at most until `deadlineNs` on CLOCK_MONOTONIC
     * (INT64_MAX: no limit). False once the deadline is over.
     */
    bool waitWhile(uint32_t seen, int64_t deadlineNs) const;

  private:
    std::atomic<std::atomic<uint32_t>*> mNumber{nullptr};
};

/** Values and serial number together: what the property service writes to. */
class PropertyStore {
  public:
    explicit PropertyStore(std::string path) : mFolder(std::move(path)) {}

    /** Makes an empty store, as at boot. False with errno set. */
    bool reset();
    std::optional<std::string> read(const std::string& name) const { return mFolder.read(name); }
    /** Whole or not at all; readers see the new serial number after the new value. */
    bool write(const std::string& name, const std::string& value);

  private:
    PropertyFolder mFolder;
    PropertySerial mSerial;
};

}  // namespace android::kavel::host
