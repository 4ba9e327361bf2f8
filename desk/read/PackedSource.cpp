#include "desk/read/PackedSource.h"

#include <new>
#include <utility>

namespace kaveldesk {
namespace {

constexpr size_t kBlock = 262'144;
constexpr int kGzipWindow = 15 + 16;  // zlib.h: 16 asks for a gzip header

}  // namespace

PackedSource::PackedSource(Read read) : mRead(std::move(read)), mPacked(kBlock) {
    fill();
    mIsPacked = mInput.substr(0, 2) == "\x1f\x8b";
    if (!mIsPacked) return;
    mPlain.resize(kBlock);
    if (inflateInit2(&mStream, kGzipWindow) != Z_OK) throw std::bad_alloc();
}

PackedSource::~PackedSource() {
    if (mIsPacked) inflateEnd(&mStream);
}

bool PackedSource::fill() {
    const std::ptrdiff_t count = mRead(mPacked.data(), mPacked.size());
    if (count < 0) mError = "the file cannot be read";
    mInput = std::string_view(mPacked.data(), count > 0 ? static_cast<size_t>(count) : 0);
    return count > 0;
}

std::string_view PackedSource::next() {
    if (mIsAtEnd) return {};
    if (mIsPacked) {
        const std::string_view plain = inflateNext();
        mIsAtEnd = plain.empty();
        return plain;
    }
    if (mInput.empty()) mIsAtEnd = !fill();
    return std::exchange(mInput, {});
}

std::string_view PackedSource::inflateNext() {
    mStream.next_out = reinterpret_cast<Bytef*>(mPlain.data());
    mStream.avail_out = static_cast<uInt>(mPlain.size());
    while (mError.empty() && mStream.avail_out == mPlain.size()) {
        if (mInput.empty() && !fill()) {
            if (mIsInMember && mError.empty()) mError = "the packed data ends early";
            break;
        }
        if (!mIsInMember) {
            if (mInput[0] != '\x1f') break;  // padding
            inflateReset(&mStream);
            mIsInMember = true;
        }
        mStream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(mInput.data()));
        mStream.avail_in = static_cast<uInt>(mInput.size());
        const int status = inflate(&mStream, Z_NO_FLUSH);
        mInput.remove_prefix(mInput.size() - mStream.avail_in);
        if (status == Z_STREAM_END) {
            mIsInMember = false;
        } else if (status != Z_OK) {
            mError = "the packed data is damaged";
        }
    }
    return {mPlain.data(), mPlain.size() - mStream.avail_out};
}

}  // namespace kaveldesk
