#include "event/ExtraInfo.h"

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "tests/fake/Script.h"

namespace android::kavel {
namespace {

std::string read(const test::ScriptLine& line) {
    try {
        const KavelExtraInfo info = parseExtraInfo(line.rest(1), line.number(0));
        return "[" + info.processName + "] [" + info.packageVersion + "] [" + info.eventType + "]";
    } catch (const std::out_of_range&) {
        return "throws";
    }
}

// Would catch a cut that is off by one, a type whose text is split or kept against its form, and a
// text without its keys that makes a record of rubbish instead of an error.
TEST(ExtraInfo, IsReadAsTheGoldenFileSays) {
    test::expectScript(KAVEL_GOLDEN_DIR "/extra_info.txt", read);
}

}  // namespace
}  // namespace android::kavel
