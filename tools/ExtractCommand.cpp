#include <android-base/file.h>
#include <android-base/strings.h>
#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "tools/ArchiveStream.h"
#include "tools/Collection.h"
#include "tools/Commands.h"
#include "tools/FlatNames.h"
#include "tools/Quantities.h"
#include "tools/Text.h"

namespace android::kavel::tools {
namespace {

/** Maximum number of files: a small archive can have a very large number of empty ones. */
constexpr uint64_t kMaxFiles = 10'000;

constexpr Option kOptions[] = {
        {"to", "DIR",
         "the folder to extract into; it is created if it is missing (default: a new folder with "
         "the name of the archive in the current directory)",
         'C'},
        {"max-size", "SIZE",
         "stop if the files have more than SIZE bytes; K, M, G and T are powers of 1024 "
         "(default: 4G)"},
        kDirOption,
};

constexpr std::string_view kDescription =
        "Extracts the files of an archive, all into one folder. Nothing else is written, whatever "
        "the archive contains: in names, \"/\", control characters, a leading dot or dash, and "
        "bytes that are not UTF-8 become \"_\", and a further file of a name gets a number. No "
        "file is overwritten. Links and devices are not extracted. ARCHIVE is as for 'kavelctl "
        "show'.\n"
        "Exit code 1 means that something was not extracted, or that the archive is broken.";

/** Opens the folder, and creates it if it is missing. @throws CommandError */
base::unique_fd openFolder(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    base::unique_fd folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.ok()) return folder;
    throw CommandError("cannot use " + printable(path) + ": " + std::strerror(errno));
}

/** Extracts the members of one archive. */
class Extraction {
  public:
    Extraction(ArchiveStream& stream, base::unique_fd folder, uint64_t maxSize,
               const Output& output)
          : mStream(stream), mFolder(std::move(folder)), mMaxSize(maxSize), mOutput(output) {}

    /** @throws CommandError if the limits are reached or the folder cannot be written */
    void add(const TarMember& member) {
        const std::string shown = printable(member.name);
        if (member.kind != TarMember::Kind::File) {
            return skip(shown + " is a link or a device");
        }
        if (mFiles == kMaxFiles) {
            throw CommandError("stopped after " + std::to_string(kMaxFiles) + " files");
        }
        if (member.size > mMaxSize - mBytes) {
            throw CommandError("stopped before " + shown + " (" + sizeText(member.size) +
                               "): all files would have more than " + sizeText(mMaxSize) +
                               "; see --max-size");
        }
        const std::string name = mNames.nameFor(member.name);
        const base::unique_fd file(openat(mFolder.get(), name.c_str(),
                                          O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                          0644));
        if (!file.ok()) {
            if (errno == EEXIST) return skip(name + " exists already");
            throw CommandError("cannot create " + name + ": " + std::strerror(errno));
        }
        if (name != member.name) mOutput.note() << shown << " is extracted as " << name << '\n';
        if (copy(file, name) < member.size) mOutput.note() << name << " is incomplete\n";
        ++mFiles;
    }

    uint64_t files() const { return mFiles; }
    uint64_t bytes() const { return mBytes; }
    uint64_t skipped() const { return mSkipped; }

  private:
    void skip(const std::string& reason) {
        mOutput.note() << "not extracted: " << reason << '\n';
        ++mSkipped;
    }

    /** Returns the number of bytes. @throws CommandError, after it has removed the file */
    uint64_t copy(const base::unique_fd& file, const std::string& name) {
        std::array<char, size_t{64} * 1024> buffer;
        uint64_t copied = 0;
        while (const size_t got = mStream.read(buffer.data(), buffer.size())) {
            copied += got;
            if (base::WriteFully(file, buffer.data(), got)) continue;
            const std::string reason = std::string(": ") + std::strerror(errno);
            unlinkat(mFolder.get(), name.c_str(), 0);  // a part must not pass for the whole
            throw CommandError(("cannot write " + name).append(reason));
        }
        mBytes += copied;
        return copied;
    }

    ArchiveStream& mStream;
    const base::unique_fd mFolder;
    const uint64_t mMaxSize;
    const Output& mOutput;
    FlatNames mNames;
    uint64_t mFiles = 0;
    uint64_t mBytes = 0;
    uint64_t mSkipped = 0;
};

int runExtract(const Arguments& arguments, const Output& output) {
    const auto path = findArchive(arguments.operands.front(), directoryOf(arguments));
    std::string folder = path.filename().string();
    if (base::EndsWith(folder, kArchiveSuffix)) {
        folder.resize(folder.size() - std::strlen(kArchiveSuffix));
    }
    folder = arguments.value("to").value_or(folder);
    const uint64_t maxSize = parseSize("--max-size", arguments.value("max-size").value_or("4G"));
    ArchiveStream stream(path, kArchiveLimit);
    auto member = stream.next();
    if (!member) {  // then there must be no empty folder
        const std::string broken = stream.finish();
        if (!broken.empty()) throw CommandError("the archive is broken: " + printable(broken));
    }
    Extraction extraction(stream, openFolder(folder), maxSize, output);
    for (; member; member = stream.next()) extraction.add(*member);
    const std::string broken = stream.finish();
    if (!broken.empty()) {
        output.note() << "the archive is broken: " << printable(broken) << '\n';
    }
    if (stream.isPartial()) output.note() << "too large: only the first 4 GiB were read\n";
    output.out << extraction.files() << (extraction.files() == 1 ? " file, " : " files, ")
               << sizeText(extraction.bytes()) << ", in " << printable(folder) << '\n';
    const bool isWhole = broken.empty() && !stream.isPartial() && extraction.skipped() == 0;
    return isWhole ? kExitOk : kExitRefused;
}

}  // namespace

const Command kExtractCommand{"extract",    "ARCHIVE|-N", "extract the files of an archive",
                              kDescription, kOptions,     runExtract};

}  // namespace android::kavel::tools
