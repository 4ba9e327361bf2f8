#include <gtest/gtest.h>

#include "desk/serve/Listen.h"

namespace kaveldesk {
namespace {

// Would catch an address that others reach and that counts as one of this machine only.
TEST(Listen, KnowsWhichAddressesOthersReach) {
    const struct {
        const char* text;
        const char* shown;  // null: refused
        bool isLoopback;
    } cases[] = {{"127.0.0.1:8080", "127.0.0.1:8080", true},
                 {"localhost:1", "127.0.0.1:1", true},
                 {"127.9.9.9:0", "127.9.9.9:0", true},
                 {"[::1]:65535", "[::1]:65535", true},
                 {"0.0.0.0:1", "0.0.0.0:1", false},
                 {"126.0.0.1:1", "126.0.0.1:1", false},
                 {"128.0.0.1:1", "128.0.0.1:1", false},
                 {"[::]:1", "[::]:1", false},
                 {"[::ffff:127.0.0.1]:1", "[::ffff:127.0.0.1]:1", false},
                 {"[fe80::1]:1", "[fe80::1]:1", false},
                 {"127.0.0.1", nullptr, false},
                 {"127.0.0.1:", nullptr, false},
                 {"127.0.0.1:1x", nullptr, false},
                 {"127.0.0.1:-1", nullptr, false},
                 {"::1:1", nullptr, false},
                 {"[::1:1", nullptr, false},
                 {"127.1:1", nullptr, false},
                 {"example:1", nullptr, false},
                 {":1", nullptr, false}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.text);
        const auto address = parseListenAddress(each.text);
        ASSERT_EQ(address.has_value(), each.shown != nullptr);
        if (!address) continue;
        EXPECT_EQ(address->text(), each.shown);
        EXPECT_EQ(address->isLoopback(), each.isLoopback);
    }
}

}  // namespace
}  // namespace kaveldesk
