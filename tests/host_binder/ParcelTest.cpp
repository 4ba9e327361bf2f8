#include <binder/Parcel.h>
#include <gtest/gtest.h>

#include <vector>

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

// Would catch a read beyond the end, and a value left over, at every length a field can be cut to.
TEST(ParcelTest, CutFieldReadsAsZeroAndFails) {
    const Field fields[] = {
            field<int32_t, &Parcel::writeInt32, &Parcel::readInt32>("int32"),
            field<int64_t, &Parcel::writeInt64, &Parcel::readInt64>("int64"),
            field<bool, &Parcel::writeBool, &Parcel::readBool>("bool"),
            {"String16", [](Parcel* parcel) { parcel->writeString16(String16("abc")); },
             [](const Parcel& parcel, bool* isZero) {
                 String16 value("before");
                 const status_t status = parcel.readString16(&value);
                 *isZero = value.size() == 0;
                 return status;
             }},
    };
    for (const Field& field : fields) {
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
}

// Would catch lengths that overflow, point outside or lack their terminator.
TEST(ParcelTest, HostileStringLengths) {
    for (const int32_t length : {-2, -1, 3, 0x3fffffff, 0x40000000, 0x7fffffff}) {
        Parcel parcel;
        parcel.writeInt32(length);
        for (int i = 0; i < 2; ++i) parcel.writeInt32(0x41414141);
        parcel.setDataPosition(0);
        EXPECT_EQ(parcel.readString16().size(), 0u) << length;
    }
}

}  // namespace
