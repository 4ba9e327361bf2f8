#include "desk/read/Archive.h"

#include <archive.h>
#include <archive_entry.h>
#include <fmt/core.h>

#include <fstream>
#include <memory>
#include <utility>

#include "desk/read/Classify.h"
#include "desk/read/PackedSource.h"

namespace kaveldesk {
namespace {

struct CloseArchive {
    void operator()(archive* handle) const { archive_read_free(handle); }
};
using ArchiveHandle = std::unique_ptr<archive, CloseArchive>;

// The formats that phones and people make. Each further one is code for hostile input to reach. The
// bytes come unpacked.
ArchiveHandle newReader() {
    ArchiveHandle handle(archive_read_new());
    archive_read_support_format_tar(handle.get());
    archive_read_support_format_zip(handle.get());
    archive_read_support_format_raw(handle.get());
    return handle;
}

std::string reason(archive* handle) {
    const char* text = archive_error_string(handle);
    return text != nullptr ? text : "unknown error";
}

/** The members of one archive. */
class Members {
  public:
    Members(archive* handle, const std::string& name, std::string prefix, size_t depth,
            FileSink& sink)
          : mHandle(handle), mName(name), mPrefix(std::move(prefix)), mDepth(depth), mSink(sink) {}

    void readAll() {
        size_t count = 0;
        for (; !mSink.isFull(); ++count) {
            archive_entry* entry = nullptr;
            const int status = archive_read_next_header(mHandle, &entry);
            if (status == ARCHIVE_EOF) break;
            if (status != ARCHIVE_OK && status != ARCHIVE_WARN) {
                mSink.addDamage(mName,
                                fmt::format("The archive is damaged or ends early after {} "
                                            "members: {}.",
                                            count, reason(mHandle)),
                                mDepth);
                return;
            }
            if (archive_entry_filetype(entry) == AE_IFDIR) continue;
            if (!mSink.countMember() || !readMember(entry)) return;
        }
        if (count == 0 && !mSink.isFull()) {
            mSink.addDamage(mName,
                            "It begins with zero bytes, as an empty archive does: there are no "
                            "files in it.",
                            mDepth);
        }
    }

  private:
    std::string nameOf(archive_entry* entry) const {
        if (archive_format(mHandle) == ARCHIVE_FORMAT_RAW) {
            const std::string_view name(mName);
            const size_t stem = name.size() - std::min<size_t>(name.size(), 3);
            return std::string(name.substr(stem) == ".gz" ? name.substr(0, stem) : name);
        }
        const char* path = archive_entry_pathname(entry);
        if (path == nullptr) path = archive_entry_pathname_utf8(entry);
        constexpr size_t kMaxName = 4096;
        return mPrefix + std::string(path != nullptr ? path : "(no name)").substr(0, kMaxName);
    }

    /** Returns false if the rest of the archive cannot be read. */
    bool readMember(archive_entry* entry) {
        const std::string name = nameOf(entry);
        if (archive_entry_hardlink(entry) != nullptr || archive_entry_filetype(entry) == AE_IFLNK) {
            mSink.addProblem(name, "This is a link. Links are not followed.");
            return true;
        }
        // The raw format does not give a type.
        if (archive_entry_filetype(entry) != AE_IFREG &&
            archive_format(mHandle) != ARCHIVE_FORMAT_RAW) {
            mSink.addProblem(name, "This is a device or pipe, not a file.");
            return true;
        }
        const bool isKept = !isSystemTraceName(name);
        std::string text;
        if (isKept && archive_entry_size_is_set(entry)) {
            text.reserve(std::min(mSink.room(), static_cast<uint64_t>(std::max<int64_t>(
                                                        archive_entry_size(entry), 0))));
        }
        uint64_t size = 0;
        const bool goesOn = readData(name, isKept ? &text : nullptr, size);
        if (isKept) {
            add(name, size, std::move(text));
        } else {
            mSink.addUnread(name, size);
        }
        return goesOn;
    }

    /** Appends to @p text, within the room; null: only counts. */
    bool readData(const std::string& name, std::string* text, uint64_t& size) {
        const uint64_t room = mSink.room();
        for (;;) {
            const void* block = nullptr;
            size_t length = 0;
            int64_t offset = 0;
            const int status = archive_read_data_block(mHandle, &block, &length, &offset);
            if (status == ARCHIVE_EOF) return true;
            if (status != ARCHIVE_OK && status != ARCHIVE_WARN) {
                mSink.addDamage(name,
                                fmt::format("The archive is damaged or ends early here: {} "
                                            "bytes are read ({}).",
                                            size, reason(mHandle)),
                                mDepth);
                return status == ARCHIVE_FAILED;
            }
            size += length;
            if (text != nullptr && text->size() < room) {
                text->append(static_cast<const char*>(block),
                             std::min<uint64_t>(length, room - text->size()));
            }
            if (!mSink.countUnpacked(length)) return false;
        }
    }

    void add(const std::string& name, uint64_t size, std::string text) {
        if (isPacked(text)) {
            if (mDepth + 1 < mSink.limits().nesting) {
                const FileSink::Hold hold(mSink, text.size());
                readArchiveInMemory(text, name, mDepth + 1, mSink);
                return;
            }
            mSink.addProblem(name, "This archive is inside too many others: it is not read.");
        } else if (archive_format(mHandle) == ARCHIVE_FORMAT_RAW && !isText(text)) {
            mSink.addDamage(name, "This is neither an archive nor text.", mDepth);
        }
        mSink.add(name, size, std::move(text));
    }

    archive* mHandle;
    const std::string& mName;
    std::string mPrefix;
    size_t mDepth;
    FileSink& mSink;
};

}  // namespace

bool isPacked(std::string_view bytes) {
    constexpr size_t kTarMagicAt = 257;
    return bytes.substr(0, 2) == "\x1f\x8b" || bytes.substr(0, 4) == "PK\x03\x04" ||
           (bytes.size() > kTarMagicAt && bytes.substr(kTarMagicAt, 5) == "ustar");
}

namespace {

la_ssize_t giveBytes(archive*, void* source, const void** buffer) {
    const std::string_view bytes = static_cast<PackedSource*>(source)->next();
    *buffer = bytes.data();
    return static_cast<la_ssize_t>(bytes.size());
}

void readFrom(PackedSource::Read read, const std::string& name, std::string prefix, size_t depth,
              FileSink& sink) {
    PackedSource source(std::move(read));
    const ArchiveHandle handle = newReader();
    const int status = archive_read_open(handle.get(), &source, nullptr, giveBytes, nullptr);
    if (status == ARCHIVE_OK) {
        Members(handle.get(), name, std::move(prefix), depth, sink).readAll();
    } else if (source.error().empty()) {
        // Anything else is at least raw bytes.
        sink.addDamage(name, "The file is empty.", depth);
    }
    if (!source.error().empty()) {
        sink.addDamage(name, "The archive is not whole: " + source.error() + ".", depth);
    }
}

}  // namespace

void readArchive(const std::filesystem::path& path, const std::string& prefix, FileSink& sink) {
    std::ifstream file(path, std::ios::binary);
    const std::string name =
            prefix.empty() ? path.filename().string() : prefix.substr(0, prefix.size() - 1);
    const auto read = [&file](char* buffer, size_t size) -> std::ptrdiff_t {
        file.read(buffer, static_cast<std::streamsize>(size));
        return file.bad() ? -1 : static_cast<std::ptrdiff_t>(file.gcount());
    };
    readFrom(read, name, prefix, 0, sink);
}

void readArchiveInMemory(std::string_view bytes, const std::string& name, size_t depth,
                         FileSink& sink) {
    const auto read = [rest = bytes](char* buffer, size_t size) mutable -> std::ptrdiff_t {
        const size_t count = rest.copy(buffer, size);
        rest.remove_prefix(count);
        return static_cast<std::ptrdiff_t>(count);
    };
    readFrom(read, name, name + "/", depth, sink);
}

}  // namespace kaveldesk
