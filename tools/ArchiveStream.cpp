#include "tools/ArchiveStream.h"

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "dump/LogFolderName.h"

namespace android::kavel::tools {
namespace {

/** Returns the name of the folder that was packed into @p archive, from the archive's name. */
std::string folderOf(const std::filesystem::path& archive) {
    const std::string fileName = archive.filename().string();
    if (const auto name = parseArchiveName(fileName)) return name->folder;
    return fileName.substr(0, fileName.size() - std::min(fileName.size(), strlen(kArchiveSuffix)));
}

/**
 * Returns @p name relative to the folder @p folder or, in an archive that was renamed, to the first
 * log folder; the whole name if it is in neither.
 */
std::string nameBelow(const std::string& name, const std::string& folder) {
    const size_t position = name.find(folder + "/");
    const bool wholePart = position == 0 || (position != std::string::npos && position > 0 &&
                                             name[position - 1] == '/');
    if (wholePart) return name.substr(position + folder.size() + 1);
    size_t start = 0;
    for (size_t end; (end = name.find('/', start)) != std::string::npos; start = end + 1) {
        if (isLogFolderName(std::string_view(name).substr(start, end - start))) {
            return name.substr(end + 1);
        }
    }
    return name;
}

}  // namespace

ArchiveStream::ArchiveStream(const std::filesystem::path& path, uint64_t limit)
      : mFolder(folderOf(path)), mReader([this](char* buffer, size_t size) {
            return mFile ? mFile->read(buffer, size) : 0;
        }) {
    // Without O_NONBLOCK, open() would block on a FIFO of that name.
    base::unique_fd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    if (!fd.ok() || fstat(fd.get(), &status) != 0) {
        mCannotOpen = std::strerror(errno);
    } else if (!S_ISREG(status.st_mode)) {
        mCannotOpen = "not a regular file";
    } else if (status.st_size == 0) {
        mCannotOpen = "the file is empty";
    } else {
        mSize = static_cast<uint64_t>(status.st_size);
        mFile.emplace(std::move(fd), limit);
    }
}

std::optional<TarMember> ArchiveStream::next() {
    while (auto member = mReader.next()) {
        if (member->kind == TarMember::Kind::Directory) continue;
        member->name = nameBelow(member->name, mFolder);
        return member;
    }
    return std::nullopt;
}

size_t ArchiveStream::read(char* buffer, size_t size) {
    return mReader.read(buffer, size);
}

std::string ArchiveStream::finish() {
    if (!mFile) return mCannotOpen;
    mFile->drain();
    std::string broken = mFile->error();
    if (broken.empty() && !isPartial() && !mReader.error().empty()) {
        broken = "not a valid tar archive: " + mReader.error();
    }
    return broken;
}

}  // namespace android::kavel::tools
