#include <binder/Parcel.h>
#include <gtest/gtest.h>
#include <utils/String8.h>

#include <vector>

#include "tests/host_binder/BinderTest.h"

using namespace android;  // NOLINT(google-build-using-namespace)

namespace {

struct Field {
    const char* name;
    void (*write)(Parcel*);
    /** Reads the field and says whether the value is zero or empty. */
    status_t (*read)(const Parcel&, bool* isZero);
};

template <typename T, status_t (Parcel::*WRITE)(T), status_t (Parcel::*READ)(T*) const>
Field field(const char* name) {
    return {name, [](Parcel* parcel) { (parcel->*WRITE)(static_cast<T>(77)); },
            [](const Parcel& parcel, bool* isZero) {
                T value = static_cast<T>(99);
                const status_t status = (parcel.*READ)(&value);
                *isZero = value == T{};
                return status;
            }};
}

const std::vector<Field>& fields() {
    static const std::vector<Field> all = {
            field<int32_t, &Parcel::writeInt32, &Parcel::readInt32>("int32"),
            field<int64_t, &Parcel::writeInt64, &Parcel::readInt64>("int64"),
            field<bool, &Parcel::writeBool, &Parcel::readBool>("bool"),
            field<int8_t, &Parcel::writeByte, &Parcel::readByte>("byte"),
            field<double, &Parcel::writeDouble, &Parcel::readDouble>("double"),
            {"String8", [](Parcel* parcel) { parcel->writeString8(String8("abc")); },
             [](const Parcel& parcel, bool* isZero) {
                 String8 value("before");
                 const status_t status = parcel.readString8(&value);
                 *isZero = value.length() == 0;
                 return status;
             }},
            {"String16", [](Parcel* parcel) { parcel->writeString16(String16("abc")); },
             [](const Parcel& parcel, bool* isZero) {
                 String16 value("before");
                 const status_t status = parcel.readString16(&value);
                 *isZero = value.size() == 0;
                 return status;
             }},
    };
    return all;
}

// Catches a read beyond the end, and a value left over, at every length a field can be cut to.
TEST(ParcelTest, CutFieldReadsAsZeroAndFails) {
    for (const Field& field : fields()) {
        SCOPED_TRACE(field.name);
        Parcel whole;
        field.write(&whole);
        for (size_t length = 0; length <= whole.dataSize(); ++length) {
            // A copy of just this size lets the address sanitizer see the end.
            const std::vector<uint8_t> cut(whole.data(), whole.data() + length);
            Parcel parcel;
            ASSERT_EQ(parcel.setData(cut.data(), cut.size()), NO_ERROR);
            bool isZero = false;
            const status_t status = field.read(parcel, &isZero);
            EXPECT_EQ(status == NO_ERROR, length == whole.dataSize()) << length;
            EXPECT_EQ(isZero, length != whole.dataSize()) << length;
        }
    }
    EXPECT_EQ(Parcel().readInt32(), 0);
    int64_t value = 5;
    EXPECT_EQ(Parcel().readInt64(&value), NOT_ENOUGH_DATA);
}

// Catches lengths that overflow, point outside or lack their terminator.
TEST(ParcelTest, HostileStringLengths) {
    for (const int32_t length : {-2, -1, 3, 0x3fffffff, 0x40000000, 0x7fffffff}) {
        Parcel parcel;
        parcel.writeInt32(length);
        for (int i = 0; i < 2; ++i) parcel.writeInt32(0x41414141);
        parcel.setDataPosition(0);
        EXPECT_EQ(parcel.readString16().size(), 0u) << length;
        parcel.setDataPosition(0);
        EXPECT_EQ(parcel.readString8().length(), 0u) << length;
        parcel.setDataPosition(sizeof(int32_t));
        EXPECT_EQ(parcel.readCString(), nullptr);
    }
}

// Catches a token check that takes another interface's call, or one without a token.
TEST(ParcelTest, EnforcesTheInterface) {
    Parcel parcel;
    parcel.writeInterfaceToken(String16("one"));
    parcel.writeInt32(42);
    parcel.setDataPosition(0);
    EXPECT_TRUE(parcel.enforceInterface(String16("one")));
    EXPECT_EQ(parcel.readInt32(), 42);
    parcel.setDataPosition(0);
    EXPECT_FALSE(parcel.enforceInterface(String16("two")));
    EXPECT_FALSE(Parcel().enforceInterface(String16("one")));
}

// Catches padding or growth that loses bytes when a parcel is written over in the middle.
TEST(ParcelTest, OverwritesInPlace) {
    Parcel parcel;
    for (int32_t i = 0; i < 1000; ++i) parcel.writeInt32(i);
    parcel.setDataPosition(40);
    parcel.write("xyz", 3);
    EXPECT_EQ(parcel.dataSize(), 4000u);
    parcel.setDataPosition(36);
    EXPECT_EQ(parcel.readInt32(), 9);
    EXPECT_STREQ(parcel.readCString(), "xyz");
    EXPECT_EQ(parcel.readInt32(), 11);
}

}  // namespace
