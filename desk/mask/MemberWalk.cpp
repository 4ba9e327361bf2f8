#include "desk/mask/MemberWalk.h"

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <system_error>

#include <fmt/core.h>

#include "desk/mask/Content.h"
#include "desk/read/Archive.h"
#include "desk/read/PackedSource.h"

namespace kaveldesk {
namespace {

namespace fs = std::filesystem;

using EntryHandle = std::unique_ptr<archive_entry, void (*)(archive_entry*)>;
using ArchiveHandle = std::unique_ptr<archive, int (*)(archive*)>;

std::string errorText(archive* reader) {
    const char* text = archive_error_string(reader);
    return text != nullptr ? text : "unknown error";
}

bool leadsOut(const fs::path& name) {
    return name.empty() || name.is_absolute() ||
           std::find(name.begin(), name.end(), fs::path("..")) != name.end();
}

EntryHandle entryOf(const fs::path& path) {
    EntryHandle entry(archive_entry_new(), archive_entry_free);
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0) archive_entry_copy_stat(entry.get(), &status);
    return entry;
}

PackedSource::Read readerOf(std::ifstream& file) {
    return [&file](char* buffer, size_t size) -> std::ptrdiff_t {
        file.read(buffer, static_cast<std::streamsize>(size));
        return file.bad() ? -1 : static_cast<std::ptrdiff_t>(file.gcount());
    };
}

std::string withoutGz(const std::string& name) {
    const fs::path path(name);
    return path.extension() == ".gz" ? fs::path(path).replace_extension().string() : name;
}

/** One walk, through all levels of archives in archives. */
class Walk {
  public:
    Walk(const ReadLimits& limits, bool keep_binary,
         const std::function<void(const WalkedMember&)>& visit)
          : mLimits(limits), mKeepBinary(keep_binary), mVisit(visit) {}

    void file(const fs::path& path) {
        std::ifstream in(path, std::ios::binary);
        const EntryHandle entry = entryOf(path);
        packed(readerOf(in), entry.get(), path.filename().string(), "", 0);
    }

    void folder(const fs::path& folder) {
        const std::string root = evidenceName(folder);
        visit(entryOf(folder).get(), root, {}, 0);
        for (const fs::path& path : pathsBelow(folder)) {
            std::ifstream in;
            visit(
                    entryOf(path).get(), root + "/" + path.lexically_relative(folder).string(),
                    [&] {
                        in.open(path, std::ios::binary);
                        return Content(
                                readerOf(in), [] { return "it cannot be read"; },
                                mLimits.memberBytes);
                    },
                    0);
        }
    }

    WalkResult result() { return std::move(mResult); }

  private:
    struct Source {
        Walk& walk;
        PackedSource bytes;
    };

    static la_ssize_t giveBytes(archive*, void* source, const void** buffer) {
        auto& [walk, bytes] = *static_cast<Source*>(source);
        const std::string_view block = walk.mIsFull ? std::string_view() : bytes.next();
        walk.mUnpacked += block.size();
        if (walk.mUnpacked > walk.mLimits.unpackedBytes) walk.fill();
        *buffer = block.data();
        return static_cast<la_ssize_t>(block.size());
    }

    /** A limit of the whole archive is reached. */
    void fill() {
        if (!mIsFull)
            mResult.problems.emplace_back("The archive is too large; the rest is left out.");
        mIsFull = true;
    }

    std::vector<fs::path> pathsBelow(const fs::path& folder) {
        std::vector<fs::path> paths;
        std::error_code error;
        fs::recursive_directory_iterator entry(
                folder, fs::directory_options::skip_permission_denied, error);
        for (; !error && entry != fs::recursive_directory_iterator() &&
               paths.size() <= mLimits.members;
             entry.increment(error)) {
            paths.push_back(entry->path());
        }
        if (error) {
            mResult.problems.push_back(
                    fmt::format("The folder cannot be read to its end: {}.", error.message()));
        }
        std::sort(paths.begin(), paths.end());
        return paths;
    }

    /** @p open returns the content of a file. */
    void visit(archive_entry* entry, const std::string& name, const std::function<Content()>& open,
               size_t depth) {
        if (++mMembers > mLimits.members) fill();
        if (mIsFull) return;
        const auto type = archive_entry_filetype(entry);
        if (leadsOut(name)) {
            mResult.leftOut.push_back({name, "its name leads out of the archive"});
        } else if ((type != AE_IFREG && type != AE_IFDIR) ||
                   archive_entry_hardlink(entry) != nullptr) {
            mResult.leftOut.push_back({name, "it is a link or a device"});
        } else if (type == AE_IFDIR) {
            mVisit({entry, name, true, false, nullptr});
        } else {
            Content content = open();
            visitFile(entry, name, content, depth);
        }
    }

    void visitFile(archive_entry* entry, const std::string& name, Content& content, size_t depth) {
        const bool isText = isMaskable(content.head());
        if (isPacked(content.head()) && depth + 1 < mLimits.nesting) {
            const auto read = [&content, rest = std::string_view()](char* buffer,
                                                                    size_t size) mutable {
                if (rest.empty()) rest = content.next();
                const size_t count = rest.copy(buffer, size);
                rest.remove_prefix(count);
                return static_cast<std::ptrdiff_t>(count);
            };
            packed(read, entry, name, name + "/", depth + 1);
        } else if (isText || mKeepBinary) {
            mVisit({entry, name, false, isText, [&content](const auto& sink) {
                        for (std::string_view block = content.next(); !block.empty();
                             block = content.next()) {
                            sink(block);
                        }
                    }});
            mResult.bytes += content.bytes();
        } else {
            mResult.leftOut.push_back({name, "it is no text"});
        }
        if (!content.problem().empty()) {
            mResult.problems.push_back(
                    fmt::format("The rest of {} is left out: {}.", name, content.problem()));
        }
    }

    /** The members of an archive, or the single text of a file; @p file describes the latter. */
    void packed(PackedSource::Read read, archive_entry* file, const std::string& name,
                const std::string& prefix, size_t depth) {
        Source source{*this, PackedSource(std::move(read))};
        const ArchiveHandle handle(archive_read_new(), archive_read_free);
        archive* const reader = handle.get();
        archive_read_support_format_tar(reader);
        archive_read_support_format_zip(reader);
        archive_read_support_format_raw(reader);
        const auto open = [&] {
            return Content(
                    [reader](char* buffer, size_t size) {
                        return archive_read_data(reader, buffer, size);
                    },
                    [reader] { return errorText(reader); }, mLimits.memberBytes);
        };
        int status = archive_read_open(reader, &source, nullptr, giveBytes, nullptr);
        // Anything but an empty file is at least a text.
        const bool isEmpty = status != ARCHIVE_OK;
        while (status == ARCHIVE_OK && !mIsFull) {
            archive_entry* entry = nullptr;
            status = archive_read_next_header(reader, &entry);
            if (status == ARCHIVE_WARN) status = ARCHIVE_OK;
            if (status != ARCHIVE_OK) break;
            const char* own = archive_entry_pathname(entry);
            if (archive_format(reader) == ARCHIVE_FORMAT_RAW) {
                visit(file, withoutGz(name), open, depth);
            } else {
                visit(entry, own != nullptr ? prefix + own : "", open, depth);
            }
        }
        if (!source.bytes.error().empty()) {
            mResult.problems.push_back(
                    fmt::format("{} is not whole: {}.", name, source.bytes.error()));
        } else if (isEmpty) {
            mResult.problems.push_back(name + " is empty.");
        } else if (status != ARCHIVE_OK && status != ARCHIVE_EOF && !mIsFull) {
            mResult.problems.push_back(fmt::format("{} ends early: {}.", name, errorText(reader)));
        }
    }

    const ReadLimits& mLimits;
    const bool mKeepBinary;
    const std::function<void(const WalkedMember&)>& mVisit;
    WalkResult mResult;
    size_t mMembers = 0;
    uint64_t mUnpacked = 0;
    bool mIsFull = false;
};

}  // namespace

WalkResult walkMembers(const fs::path& path, const ReadLimits& limits, bool keep_binary,
                       const std::function<void(const WalkedMember&)>& visit) {
    Walk walk(limits, keep_binary, visit);
    if (fs::is_directory(path)) {
        walk.folder(path);
    } else {
        walk.file(path);
    }
    return walk.result();
}

}  // namespace kaveldesk
