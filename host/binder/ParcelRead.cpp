#define LOG_TAG "Parcel"

#include <binder/IPCThreadState.h>
#include <binder/Parcel.h>
#include <log/log.h>
#include <utils/String8.h>

#include <cstring>

#include "host/binder/ParcelToken.h"

// The read functions. If a number is beyond the end, the status is NOT_ENOUGH_DATA, the value is 0
// and the position does not change. A string that cannot be read is empty.
namespace android {

using kavel::host::kTokenMark;

const void* Parcel::readInplace(size_t len) const {
    if (len > INT32_MAX) return nullptr;
    const size_t padded = (len + 3) & ~static_cast<size_t>(3);
    if (padded > dataAvail()) return nullptr;
    const uint8_t* place = mData + mDataPos;
    mDataPos += padded;
    return place;
}

status_t Parcel::read(void* outData, size_t len) const {
    if (len == 0) return NO_ERROR;
    const void* place = readInplace(len);
    if (place == nullptr) return NOT_ENOUGH_DATA;
    std::memcpy(outData, place, len);
    return NO_ERROR;
}

template <class T>
status_t Parcel::readAligned(T* pArg) const {
    static_assert(sizeof(T) % 4 == 0);
    return read(pArg, sizeof(T));
}

template <class T>
T Parcel::readAligned() const {
    T value{};
    readAligned(&value);
    return value;
}

// NOLINTBEGIN(bugprone-macro-parentheses): a type must not be in parentheses.
#define READ_VALUE(NAME, TYPE, WIRE_TYPE)                   \
    status_t Parcel::read##NAME(TYPE* pArg) const {         \
        WIRE_TYPE value{};                                  \
        const status_t status = readAligned(&value);        \
        *pArg = static_cast<TYPE>(value);                   \
        return status;                                      \
    }                                                       \
    TYPE Parcel::read##NAME() const {                       \
        return static_cast<TYPE>(readAligned<WIRE_TYPE>()); \
    }

READ_VALUE(Int32, int32_t, int32_t)
READ_VALUE(Int64, int64_t, int64_t)
READ_VALUE(Bool, bool, int32_t)
#undef READ_VALUE
// NOLINTEND(bugprone-macro-parentheses)

const char16_t* Parcel::readString16Inplace(size_t* outLen) const {
    *outLen = 0;
    int32_t length = 0;
    if (readInt32(&length) != NO_ERROR || length < 0) return nullptr;
    const size_t size = (static_cast<size_t>(length) + 1) * sizeof(char16_t);
    const auto* text = static_cast<const char16_t*>(readInplace(size));
    if (text == nullptr || text[length] != u'\0') return nullptr;
    *outLen = static_cast<size_t>(length);
    return text;
}

status_t Parcel::readString16(String16* pArg) const {
    size_t length = 0;
    const char16_t* text = readString16Inplace(&length);
    if (text != nullptr) return pArg->setTo(text, length);
    *pArg = String16();
    return UNEXPECTED_NULL;
}

String16 Parcel::readString16() const {
    String16 text;
    readString16(&text);
    return text;
}

int Parcel::readFileDescriptor() const {
    int32_t fd = 0;
    const bool isThere = mHasFds && mDataPos == 0 && readInt32(&fd) == NO_ERROR;
    return isThere ? fd : int{BAD_TYPE};
}

bool Parcel::enforceInterface(const String16& interface, IPCThreadState*) const {
    readInt32();  // strict mode policy
    readInt32();  // work source
    const int32_t mark = readInt32();
    const String16 found = readString16();
    if (mark == kTokenMark && found == interface) return true;
    ALOGW("a call for interface '%s' arrived at '%s'", String8(found).c_str(),
          String8(interface).c_str());
    return false;
}

bool Parcel::checkInterface(IBinder* binder) const {
    return enforceInterface(binder->getInterfaceDescriptor());
}

}  // namespace android
