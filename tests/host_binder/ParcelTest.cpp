#include <binder/Parcel.h>
#include <gtest/gtest.h>

#include <vector>

using namespace android;  // NOLINT(google-build-using-namespace)

namespace {

// Would catch a read beyond the end, and a value left over, at every length a field can be cut to.
TEST(ParcelTest, CutFieldReadsAsZeroAndFails) {
    Parcel whole;
    whole.writeInt64(77);
    whole.writeString16(String16("abc"));
    for (size_t length = 0; length <= whole.dataSize(); ++length) {
        // A copy of just this size lets the address sanitizer see the end.
        const std::vector<uint8_t> cut(whole.data(), whole.data() + length);
        Parcel parcel;
        ASSERT_EQ(parcel.setData(cut.data(), cut.size()), NO_ERROR);
        int64_t number = 99;
        String16 text("before");
        const bool hasNumber = length >= sizeof(number);
        EXPECT_EQ(parcel.readInt64(&number) == NO_ERROR, hasNumber) << length;
        EXPECT_EQ(number, hasNumber ? 77 : 0) << length;
        const bool hasText = length == whole.dataSize();
        EXPECT_EQ(parcel.readString16(&text) == NO_ERROR, hasText) << length;
        EXPECT_EQ(text.size(), hasText ? 3u : 0u) << length;
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
