#include "tools/ArchiveReader.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string_view>

#include "dump/LogFolderName.h"

namespace android::kavel::tools {
namespace {

constexpr size_t kMaxNameLength = 4096;

/**
 * The unpacked stream of one file. zlib is asked directly, because libarchive's own gzip filter
 * checks neither the checksum nor that the file is gzip at all.
 */
class GzipStream {
  public:
    /** Takes over @p fd. */
    explicit GzipStream(int fd) : mFile(gzdopen(fd, "rb")) {
        if (mFile == nullptr) ::close(fd);
    }
    ~GzipStream() {
        if (mFile != nullptr) gzclose_r(mFile);
    }
    GzipStream(const GzipStream&) = delete;
    GzipStream& operator=(const GzipStream&) = delete;

    /** The next block; empty at the end and on error. */
    std::string_view read() {
        if (mFile == nullptr) return {};
        const int length = gzread(mFile, mBuffer.data(), static_cast<unsigned>(mBuffer.size()));
        return {mBuffer.data(), length > 0 ? static_cast<size_t>(length) : 0};
    }

    /** Reads what is left, so that the checksum at the end is checked. */
    void drain() {
        while (!read().empty()) {
        }
    }

    /** Why the stream ended before its end; empty where it did not. */
    std::string error() const {
        if (mFile == nullptr) return "out of memory";
        if (gzdirect(mFile) != 0) return "not a gzip file";
        int code = Z_OK;
        const char* text = gzerror(mFile, &code);
        if (code == Z_OK || code == Z_STREAM_END) return {};
        if (code == Z_BUF_ERROR) return "the file is cut off";
        if (code == Z_ERRNO) return std::strerror(errno);
        // zlib puts the file's name in front, "<fd:3>: " here.
        const char* reason = std::strstr(text, ": ");
        return std::string("damaged gzip data: ") + (reason == nullptr ? text : reason + 2);
    }

  private:
    gzFile mFile;
    std::array<char, size_t{64} * 1024> mBuffer;
};

la_ssize_t readBlock(archive*, void* stream, const void** block) {
    const std::string_view data = static_cast<GzipStream*>(stream)->read();
    *block = data.data();
    return static_cast<la_ssize_t>(data.size());
}

std::string readText(archive* reader) {
    std::string text(kMaxText, '\0');
    size_t length = 0;
    while (length < text.size()) {
        const la_ssize_t got = archive_read_data(reader, &text[length], text.size() - length);
        if (got <= 0) break;
        length += static_cast<size_t>(got);
    }
    text.resize(length);
    return text;
}

/** Name of the folder that @p archive was made of, as far as its name tells. */
std::string folderOf(const std::filesystem::path& archive) {
    const std::string fileName = archive.filename().string();
    if (const auto name = parseArchiveName(fileName)) return name->folder;
    return fileName.substr(0, fileName.size() - std::min(fileName.size(), strlen(kArchiveSuffix)));
}

/** Name of @p entry below the folder @p folder; the whole name where it is not in there. */
std::string nameBelow(archive_entry* entry, const std::string& folder) {
    const char* pathname = archive_entry_pathname(entry);
    if (pathname == nullptr) pathname = archive_entry_pathname_utf8(entry);
    if (pathname == nullptr) return "(unreadable name)";
    const std::string name(pathname, strnlen(pathname, kMaxNameLength));
    const size_t position = name.find(folder + "/");
    const bool wholePart = position == 0 || (position != std::string::npos && position > 0 &&
                                             name[position - 1] == '/');
    return wholePart ? name.substr(position + folder.size() + 1) : name;
}

bool isNamed(const std::string& name, std::string_view wanted) {
    return std::filesystem::path(name).filename() == wanted;
}

void readEntry(archive* reader, archive_entry* entry, const std::string& folder,
               ArchiveContents& contents) {
    if (archive_entry_filetype(entry) == AE_IFDIR) return;
    const std::string name = nameBelow(entry, folder);
    const auto size = static_cast<uint64_t>(std::max<la_int64_t>(archive_entry_size(entry), 0));
    ++contents.fileCount;
    if (contents.files.size() < kMaxListedFiles) contents.files.push_back({name, size});
    if (contents.history.empty() && isNamed(name, "kavel_history.txt")) {
        contents.history = readText(reader);
    } else if (!contents.hasExtraInfo && isNamed(name, "extraInfo.txt")) {
        contents.extraInfo = readText(reader);
        contents.hasExtraInfo = true;
    }
}

/** Walks the tar stream; returns why it ended early, or an empty text. */
std::string readEntries(GzipStream& stream, const std::string& folder, ArchiveContents& contents) {
    const std::unique_ptr<archive, decltype(&archive_read_free)> reader(archive_read_new(),
                                                                        archive_read_free);
    if (reader == nullptr) return "out of memory";
    archive_read_support_format_tar(reader.get());
    int status = archive_read_open(reader.get(), &stream, nullptr, readBlock, nullptr);
    while (status == ARCHIVE_OK || status == ARCHIVE_WARN) {
        archive_entry* entry = nullptr;
        status = archive_read_next_header(reader.get(), &entry);
        if (status == ARCHIVE_EOF) return {};
        if (status == ARCHIVE_OK || status == ARCHIVE_WARN) {
            readEntry(reader.get(), entry, folder, contents);
        }
    }
    const char* text = archive_error_string(reader.get());
    return std::string("not a sound tar archive: ") + (text == nullptr ? "unknown error" : text);
}

}  // namespace

ArchiveContents readArchive(const std::filesystem::path& path) {
    ArchiveContents contents;
    // Without O_NONBLOCK a FIFO of that name would hold us for ever.
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status = {};
    if (fd < 0 || fstat(fd, &status) != 0) {
        contents.broken = std::strerror(errno);
        if (fd >= 0) close(fd);
        return contents;
    }
    if (!S_ISREG(status.st_mode) || status.st_size == 0) {
        contents.broken = S_ISREG(status.st_mode) ? "the file is empty" : "not a regular file";
        close(fd);
        return contents;
    }
    contents.archiveSize = static_cast<uint64_t>(status.st_size);

    const auto stream = std::make_unique<GzipStream>(fd);
    const std::string tarError = readEntries(*stream, folderOf(path), contents);
    stream->drain();
    contents.broken = stream->error();
    if (contents.broken.empty()) contents.broken = tarError;
    return contents;
}

}  // namespace android::kavel::tools
