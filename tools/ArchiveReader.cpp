#include "tools/ArchiveReader.h"

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "dump/LogFolderName.h"
#include "tools/GzipFile.h"
#include "tools/TarReader.h"

namespace android::kavel::tools {
namespace {

/** Returns the name of the folder that was packed into @p archive, from the archive's name. */
std::string folderOf(const std::filesystem::path& archive) {
    const std::string fileName = archive.filename().string();
    if (const auto name = parseArchiveName(fileName)) return name->folder;
    return fileName.substr(0, fileName.size() - std::min(fileName.size(), strlen(kArchiveSuffix)));
}

/** Returns @p name relative to the folder @p folder; the whole name if it is not in the folder. */
std::string nameBelow(const std::string& name, const std::string& folder) {
    const size_t position = name.find(folder + "/");
    const bool wholePart = position == 0 || (position != std::string::npos && position > 0 &&
                                             name[position - 1] == '/');
    return wholePart ? name.substr(position + folder.size() + 1) : name;
}

/** Fills an ArchiveContents from the members of a tar stream. */
class MemberCollector {
  public:
    MemberCollector(TarReader& reader, std::string folder, ArchiveContents& contents)
          : mReader(reader), mFolder(std::move(folder)), mContents(contents) {}

    void add(const TarMember& member) {
        if (member.isDirectory) return;
        const std::string name = nameBelow(member.name, mFolder);
        ++mContents.fileCount;
        if (mContents.files.size() < kMaxListedFiles) {
            mContents.files.push_back({name, member.size});
        }
        // The archive of an abnormal action contains other catches in sub-folders, with files of
        // the same names. The files in the uppermost folder are its own.
        const std::filesystem::path path(name);
        const auto depth = static_cast<size_t>(std::distance(path.begin(), path.end()));
        if (path.filename() == "kavel_history.txt" && depth < mHistoryDepth) {
            mHistoryDepth = depth;
            mContents.history = readText(kMaxText);
        } else if (path.filename() == "extraInfo.txt" && depth < mExtraInfoDepth) {
            mExtraInfoDepth = depth;
            mContents.extraInfo = readText(kMaxText);
            mContents.hasExtraInfo = true;
        } else if (path.filename() == "kavel_events.txt") {
            addEvents(member.size, depth);
        }
    }

  private:
    void addEvents(uint64_t size, size_t depth) {
        std::string text =
                readText(kMaxEventText - std::min(kMaxEventText, mContents.events.size()));
        if (text.size() < size) {
            mContents.hasMoreEvents = true;
            const size_t lastEnd = text.rfind('\n');
            text.resize(lastEnd == std::string::npos ? 0 : lastEnd + 1);
        } else if (!text.empty() && text.back() != '\n') {
            text += '\n';
        }
        const bool isOwn = depth < mEventsDepth;
        mContents.events.insert(isOwn ? 0 : mContents.events.size(), text);
        if (isOwn) mEventsDepth = depth;
    }

    std::string readText(size_t limit) {
        std::string text(limit, '\0');
        text.resize(mReader.read(text.data(), text.size()));
        return text;
    }

    TarReader& mReader;
    const std::string mFolder;
    ArchiveContents& mContents;
    size_t mHistoryDepth = SIZE_MAX;
    size_t mExtraInfoDepth = SIZE_MAX;
    size_t mEventsDepth = SIZE_MAX;
};

}  // namespace

ArchiveContents readArchive(const std::filesystem::path& path, uint64_t limit) {
    ArchiveContents contents;
    // Without O_NONBLOCK, open() would block on a FIFO of that name.
    base::unique_fd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    if (!fd.ok() || fstat(fd.get(), &status) != 0) {
        contents.broken = std::strerror(errno);
        return contents;
    }
    if (!S_ISREG(status.st_mode) || status.st_size == 0) {
        contents.broken = S_ISREG(status.st_mode) ? "the file is empty" : "not a regular file";
        return contents;
    }
    contents.archiveSize = static_cast<uint64_t>(status.st_size);

    GzipFile file(std::move(fd), limit);
    TarReader reader([&file](char* buffer, size_t size) { return file.read(buffer, size); });
    MemberCollector collector(reader, folderOf(path), contents);
    while (const auto member = reader.next()) collector.add(*member);
    file.drain();

    contents.isPartial = file.isBeyondLimit();
    contents.broken = file.error();
    if (contents.broken.empty() && !contents.isPartial && !reader.error().empty()) {
        contents.broken = "not a valid tar archive: " + reader.error();
    }
    return contents;
}

}  // namespace android::kavel::tools
