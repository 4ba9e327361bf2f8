// Catches a cause that is not found, a wrong one, a wrong line, and a changed fingerprint.
#include <fstream>
#include <sstream>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "desk/cause/FindCause.h"
#include "desk/parse/Text.h"
#include "desk/timeline/BuildTimeline.h"
#include "tests/desk/cause/Cases.h"

namespace kaveldesk {
namespace {

std::string readFile(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

TEST(Cause, VerdictsOfTheGoldenFile) {
    const std::string path = KAVEL_GOLDEN_DIR "/verdicts.txt";
    const std::string golden = readFile(path);
    std::string actual;
    for (const VerdictCase& c : readCases(golden)) {
        const Verdict verdict = findCause(c.evidence, buildTimeline(c.evidence));
        actual += c.text + "@expect\n" + verdictText(c.evidence, verdict);
    }
    if (getenv("KAVEL_WRITE_GOLDEN") != nullptr) std::ofstream(path) << actual;
    EXPECT_EQ(actual, golden);
}

}  // namespace
}  // namespace kaveldesk
