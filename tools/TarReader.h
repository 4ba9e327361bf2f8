#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace android::kavel::tools {

/** One member of a tar archive. */
struct TarMember {
    std::string name;  ///< at most kMaxTarName bytes of the name
    uint64_t size;     ///< of its data, in bytes; 0 for links, directories and devices
    enum class Kind { File, Directory, Other } kind;  ///< Other: links, devices and the like
};

inline constexpr size_t kMaxTarName = 4096;  // PATH_MAX of linux/limits.h
/** Maximum size in bytes of a long name or pax header. */
inline constexpr size_t kMaxTarText = size_t{1024} * 1024;
/** Maximum number of headers in an archive, of all kinds. */
inline constexpr size_t kMaxTarHeaders = size_t{256} * 1024;

/**
 * Reads the members of a tar stream in order: POSIX ustar and pax, GNU (also written by toybox)
 * with its long names, and the format before POSIX. Uses bounded memory for any input, and time in
 * proportion to its length. Not thread-safe.
 */
class TarReader {
  public:
    /** Reads at least one and at most @p size bytes into @p buffer. Returns 0 at the end. */
    using Source = std::function<size_t(char* buffer, size_t size)>;

    explicit TarReader(Source source) : mSource(std::move(source)) {}

    /** Returns the next member; nullopt at the end of the archive or on error. */
    std::optional<TarMember> next();

    /**
     * Reads up to @p size bytes of the member's data. Returns fewer only at its end or on error.
     */
    size_t read(char* buffer, size_t size);

    /** Why the archive could not be read to its end; empty if it could. */
    const std::string& error() const { return mError; }

  private:
    /** Values of extended headers that replace those of a member's own header. */
    struct Extension {
        std::optional<std::string> path;
        std::optional<uint64_t> size;
    };

    std::nullopt_t fail(std::string reason);
    size_t fill(char* buffer, size_t size);
    bool skipData();
    bool readText(uint64_t size, std::string& text);
    bool readExtension(char type, uint64_t size, Extension& ownExtension);
    static bool readPax(std::string_view text, Extension& extension);

    const Source mSource;
    std::string mError;
    Extension mCommon;          ///< from global headers; applies to all following members
    uint64_t mDataLeft = 0;     ///< of the current member
    uint64_t mPaddingLeft = 0;  ///< after the data of the current member
    size_t mHeaders = 0;
    bool mIsAtEnd = false;
};

}  // namespace android::kavel::tools
