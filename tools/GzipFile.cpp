#include "tools/GzipFile.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>

namespace android::kavel::tools {

GzipFile::GzipFile(base::unique_fd fd, uint64_t limit) : mLeft(limit) {
    const int number = fd.release();
    mFile = gzdopen(number, "rb");
    if (mFile == nullptr) close(number);
}

GzipFile::~GzipFile() {
    if (mFile != nullptr) gzclose_r(mFile);
}

size_t GzipFile::read(char* buffer, size_t size) {
    if (mFile == nullptr) return 0;
    if (mLeft == 0) {
        char next = 0;
        mIsBeyondLimit = mIsBeyondLimit || gzread(mFile, &next, sizeof(next)) > 0;
        return 0;
    }
    const auto wanted = static_cast<unsigned>(std::min<uint64_t>({size, mLeft, INT_MAX}));
    const int length = gzread(mFile, buffer, wanted);
    if (length <= 0) return 0;
    mLeft -= static_cast<uint64_t>(length);
    return static_cast<size_t>(length);
}

void GzipFile::drain() {
    std::array<char, size_t{64} * 1024> buffer;
    while (read(buffer.data(), buffer.size()) > 0) {
    }
}

std::string GzipFile::error() const {
    if (mFile == nullptr) return "out of memory";
    if (gzdirect(mFile) != 0) return "not a gzip file";
    int code = Z_OK;
    const char* text = gzerror(mFile, &code);
    if (code == Z_OK || code == Z_STREAM_END) return {};
    if (code == Z_BUF_ERROR) return "the file is cut off";
    if (code == Z_ERRNO) return std::strerror(errno);
    // zlib puts the file's name first: here "<fd:3>: ".
    const char* reason = std::strstr(text, ": ");
    return std::string("damaged gzip data: ") + (reason == nullptr ? text : reason + 2);
}

}  // namespace android::kavel::tools
