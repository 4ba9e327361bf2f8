#include "host/system/PropertyRules.h"

#include <gtest/gtest.h>

namespace android::kavel::host {
namespace {

// Would catch a limit that is off by one, or a name that would leave the store's folder.
TEST(PropertyRules, NamesAndValues) {
    const struct {
        std::string name;
        size_t valueLength;
        PropertyStatus expected;
    } cases[] = {
            {"persist.sys.kvl-x_y@z:1", 91, PropertyStatus::kSuccess},
            {std::string(255, 'n'), 1, PropertyStatus::kSuccess},
            {"ro.long", 65536, PropertyStatus::kSuccess},
            {"ro.long", 65537, PropertyStatus::kInvalidValue},
            {"rolong", 92, PropertyStatus::kInvalidValue},
            {std::string(256, 'n'), 1, PropertyStatus::kInvalidName},
            {"a.", 1, PropertyStatus::kInvalidName},
            {"a..b", 1, PropertyStatus::kInvalidName},
            {"..", 1, PropertyStatus::kInvalidName},
            {"a/b", 1, PropertyStatus::kInvalidName},
            {"a=b", 1, PropertyStatus::kInvalidName},
            {std::string("a\0b", 3), 1, PropertyStatus::kInvalidName},
            {"a\xc3\xa4", 1, PropertyStatus::kInvalidName},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(checkProperty(each.name, std::string(each.valueLength, 'v')), each.expected)
                << each.name << " " << each.valueLength;
    }
    EXPECT_EQ(checkProperty("a", std::string_view("x\0y", 3)), PropertyStatus::kInvalidValue);
}

}  // namespace
}  // namespace android::kavel::host
