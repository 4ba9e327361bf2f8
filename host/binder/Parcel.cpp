#include <binder/Parcel.h>

#include <binder/IPCThreadState.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "host/binder/ParcelToken.h"

// The buffer and those write functions that the phone's programs use. The layout is the phone's:
// each value is padded to four bytes, and a bool takes four.
namespace android {

using kavel::host::kTokenMark;

namespace {

constexpr size_t padded(size_t length) {
    return (length + 3) & ~static_cast<size_t>(3);
}

}  // namespace

Parcel::Parcel()
      : mError(NO_ERROR),
        mData(nullptr),
        mDataSize(0),
        mDataCapacity(0),
        mDataPos(0),
        mObjects(nullptr),
        mObjectsSize(0),
        mObjectsCapacity(0),
        mNextObjectHint(0),
        mObjectsSorted(false),
        mRequestHeaderPresent(false),
        mWorkSourceRequestHeaderPosition(0),
        mFdsKnown(true),
        mHasFds(false),
        mAllowFds(true),
        mOwner(nullptr),
        mOwnerCookie(nullptr),
        mOpenAshmemSize(0) {}

Parcel::~Parcel() {
    free(mData);
}

const uint8_t* Parcel::data() const {
    return mData;
}

size_t Parcel::dataSize() const {
    return mDataSize;
}

size_t Parcel::dataAvail() const {
    return mDataPos < mDataSize ? mDataSize - mDataPos : 0;
}

size_t Parcel::dataPosition() const {
    return mDataPos;
}

void Parcel::setDataPosition(size_t pos) const {
    mDataPos = pos;
}

status_t Parcel::setDataCapacity(size_t size) {
    if (size <= mDataCapacity) return NO_ERROR;
    if (size > INT32_MAX) return mError = NO_MEMORY;
    auto* grown = static_cast<uint8_t*>(realloc(mData, size));
    if (grown == nullptr) return mError = NO_MEMORY;
    mData = grown;
    mDataCapacity = size;
    return NO_ERROR;
}

status_t Parcel::setDataSize(size_t size) {
    const status_t status = setDataCapacity(size);
    if (status != NO_ERROR) return status;
    if (size > mDataSize) std::memset(mData + mDataSize, 0, size - mDataSize);
    mDataSize = size;
    mDataPos = std::min(mDataPos, size);
    return NO_ERROR;
}

status_t Parcel::setData(const uint8_t* buffer, size_t len) {
    if (len > INT32_MAX) return BAD_VALUE;
    freeData();
    const status_t status = setDataSize(len);
    if (status == NO_ERROR && len > 0) std::memcpy(mData, buffer, len);
    return status;
}

status_t Parcel::appendFrom(const Parcel* parcel, size_t start, size_t len) {
    if (start > parcel->mDataSize || len > parcel->mDataSize - start) return BAD_VALUE;
    return writeUnpadded(parcel->mData + start, len);
}

void Parcel::freeData() {
    free(mData);
    mData = nullptr;
    mDataSize = mDataCapacity = mDataPos = 0;
    mHasFds = false;
    mError = NO_ERROR;
}

status_t Parcel::errorCheck() const {
    return mError;
}

/** Extends the data with zeros, if necessary, to @p len bytes after the current position. */
status_t Parcel::growData(size_t len) {
    if (mError != NO_ERROR) return mError;
    if (len > INT32_MAX || mDataPos > INT32_MAX - len) return BAD_VALUE;
    const size_t end = mDataPos + len;
    if (end <= mDataSize) return NO_ERROR;
    if (end > mDataCapacity) {
        const status_t status = setDataCapacity(std::min<size_t>(end * 3 / 2, INT32_MAX));
        if (status != NO_ERROR) return status;
    }
    std::memset(mData + mDataSize, 0, end - mDataSize);
    mDataSize = end;
    return NO_ERROR;
}

status_t Parcel::writeUnpadded(const void* data, size_t len) {
    const status_t status = growData(len);
    if (status != NO_ERROR || len == 0) return status;
    std::memcpy(mData + mDataPos, data, len);
    mDataPos += len;
    return NO_ERROR;
}

void* Parcel::writeInplace(size_t len) {
    if (len > INT32_MAX || growData(padded(len)) != NO_ERROR) return nullptr;
    uint8_t* place = mData + mDataPos;
    if (len % 4 != 0) std::memset(place + len, 0, padded(len) - len);
    mDataPos += padded(len);
    return place;
}

status_t Parcel::write(const void* data, size_t len) {
    if (len > INT32_MAX) return BAD_VALUE;
    if (len == 0) return mError;
    void* place = writeInplace(len);
    if (place == nullptr) return mError != NO_ERROR ? mError : BAD_VALUE;
    std::memcpy(place, data, len);
    return NO_ERROR;
}

template <class T>
status_t Parcel::writeAligned(T val) {
    static_assert(sizeof(T) % 4 == 0);
    return writeUnpadded(&val, sizeof(val));
}

#define WRITE_VALUE(NAME, TYPE, WIRE_TYPE)                \
    status_t Parcel::write##NAME(TYPE val) {              \
        return writeAligned(static_cast<WIRE_TYPE>(val)); \
    }

WRITE_VALUE(Int32, int32_t, int32_t)
WRITE_VALUE(Int64, int64_t, int64_t)
WRITE_VALUE(Bool, bool, int32_t)
#undef WRITE_VALUE

status_t Parcel::writeString16(const String16& str) {
    return writeString16(str.string(), str.size());
}

status_t Parcel::writeString16(const char16_t* str, size_t len) {
    if (str == nullptr) return writeInt32(-1);
    if (len >= INT32_MAX / sizeof(char16_t)) return BAD_VALUE;
    const status_t status = writeInt32(static_cast<int32_t>(len));
    if (status != NO_ERROR) return status;
    auto* place = static_cast<uint8_t*>(writeInplace((len + 1) * sizeof(char16_t)));
    if (place == nullptr) return mError != NO_ERROR ? mError : NO_MEMORY;
    std::memcpy(place, str, len * sizeof(char16_t));
    std::memset(place + len * sizeof(char16_t), 0, sizeof(char16_t));
    return NO_ERROR;
}

// A parcel has at most one descriptor, at its start, as in a dump. It is not closed with the
// parcel.
status_t Parcel::writeFileDescriptor(int fd, bool takeOwnership) {
    if (mDataPos != 0 || takeOwnership) return BAD_VALUE;
    const status_t status = writeInt32(fd);
    mHasFds = status == NO_ERROR;
    return status;
}

bool Parcel::hasFileDescriptors() const {
    return mHasFds;
}

status_t Parcel::writeInterfaceToken(const String16& interface) {
    // As on the phone, three words precede the name: strict mode policy, work source, partition.
    for (const int32_t word : {0, IPCThreadState::kUnsetWorkSource, kTokenMark}) {
        const status_t status = writeInt32(word);
        if (status != NO_ERROR) return status;
    }
    return writeString16(interface);
}

}  // namespace android
