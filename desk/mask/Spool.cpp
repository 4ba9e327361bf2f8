#include "desk/mask/Spool.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <fmt/core.h>

#include "desk/mask/NewFile.h"

namespace kaveldesk {
namespace {

constexpr size_t kMaxMemory = 4 << 20;

[[noreturn]] void fail(const std::filesystem::path& folder, int error) {
    throw std::runtime_error(fmt::format("cannot write a temporary file in {}: {}", folder.string(),
                                         std::generic_category().message(error)));
}

}  // namespace

Spool::~Spool() {
    if (mFd >= 0) ::close(mFd);
}

void Spool::add(std::string_view bytes) {
    mMemory += bytes;
    mSize += bytes.size();
    if (mMemory.size() > kMaxMemory) flush();
}

void Spool::flush() {
    if (mFd < 0) {
        std::string name = (mFolder / ".kaveldesk.XXXXXX").string();
        mFd = ::mkostemp(name.data(), O_CLOEXEC);
        if (mFd < 0) fail(mFolder, errno);
        ::unlink(name.c_str());
    }
    if (const int error = writeAll(mFd, mMemory); error != 0) fail(mFolder, error);
    mInFile += mMemory.size();
    mMemory.clear();
}

void Spool::read(const std::function<void(std::string_view)>& sink) const {
    std::string block(256 << 10, '\0');
    for (uint64_t done = 0; done < mInFile;) {
        const size_t wanted = std::min<uint64_t>(block.size(), mInFile - done);
        const ssize_t size = ::pread(mFd, block.data(), wanted, static_cast<off_t>(done));
        if (size <= 0) fail(mFolder, size < 0 ? errno : EIO);
        sink(std::string_view(block).substr(0, static_cast<size_t>(size)));
        done += static_cast<uint64_t>(size);
    }
    sink(mMemory);
}

}  // namespace kaveldesk
