#include "tests/dump/HostileValues.h"

namespace android::kavel::test {

const std::vector<std::string> kHostileValues = {
        "a;touch CANARY;b",
        "$(touch CANARY)",
        "`touch CANARY`",
        "a&&touch CANARY||touch CANARY&",
        "a|touch CANARY #",
        "x>CANARY",
        "x\n>CANARY\ntouch CANARY\n",
        "'; >CANARY; '",
        "\"; >CANARY; \"",
        "\\'; >CANARY; \\'",
        "$HOME ${PATH} $((1+1)) $'\\n'",
        "*",
        "?[a-z]*",
        "~",
        "-rf",
        "-n",
        "{a,b} {1..3}",
        "a\\nb\\c\\\\d\\0101\\",
        " two  blanks ",
        "#!",
        "\xE5\xBA\x94\xE7\x94\xA8\xEF\xBC\x8C\xFF",
        "",
};

}  // namespace android::kavel::test
