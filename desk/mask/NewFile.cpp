#include "desk/mask/NewFile.h"

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <fmt/core.h>

namespace kaveldesk {
namespace {

[[noreturn]] void fail(const std::filesystem::path& path, int error) {
    throw std::runtime_error(fmt::format("cannot write {}: {}", path.string(),
                                         std::generic_category().message(error)));
}

}  // namespace

int writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t size = ::write(fd, bytes.data(), bytes.size());
        if (size < 0 && errno == EINTR) continue;
        if (size < 0) return errno;
        bytes.remove_prefix(static_cast<size_t>(size));
    }
    return 0;
}

NewFile::NewFile(std::filesystem::path path)
      : mPath(std::move(path)),
        mTemporary((mPath.parent_path() / fmt::format(".{}.XXXXXX", mPath.filename().string()))
                           .string()),
        mFd(::mkostemp(mTemporary.data(), O_CLOEXEC)) {
    if (mFd < 0) fail(mPath, errno);
}

NewFile::~NewFile() {
    ::close(mFd);
    if (!mTemporary.empty()) ::unlink(mTemporary.c_str());
}

void NewFile::write(std::string_view bytes) {
    if (const int error = writeAll(mFd, bytes); error != 0) fail(mPath, error);
}

void NewFile::publish(IfExists if_exists) {
    if (::fsync(mFd) != 0) fail(mPath, errno);
    const unsigned flags = if_exists == IfExists::Fail ? RENAME_NOREPLACE : 0;
    int error = ::renameat2(AT_FDCWD, mTemporary.c_str(), AT_FDCWD, mPath.c_str(), flags) == 0
                        ? 0
                        : errno;
    // Not every file system has the flag; those without it have hard links.
    if (error == EINVAL && flags != 0) {
        error = ::link(mTemporary.c_str(), mPath.c_str()) == 0 ? 0 : errno;
        if (error == 0) ::unlink(mTemporary.c_str());
    }
    if (error != 0) fail(mPath, error);
    mTemporary.clear();
}

}  // namespace kaveldesk
