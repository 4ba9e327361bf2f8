#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <stdexcept>

#include "tests/structure/PropertyNames.h"
#include "tests/structure/Repository.h"

namespace android::kavel::test {
namespace {

using Names = std::set<std::string>;

Names usedByTheDaemon() {
    Names names;
    for (const char* target : {"dravo_kavel", "kavel"}) {
        for (const std::string& source : sourcesOf(target))
            names.merge(propertiesUsed(contentOf(source)));
    }
    return names;
}

// Catches a property that was added, renamed or dropped without a word to those who set it.
TEST(Properties, PageNamesThoseThatTheDaemonUsesAndNoOthers) {
    EXPECT_EQ(namesInTables(contentOf("docs/properties.md")), usedByTheDaemon());
}

// Catches a property that SELinux would hide from the daemon: its type would be whatever the
// platform gives to names that nobody labelled.
TEST(Properties, PolicyLabelsEachThatThePlatformDoesNot) {
    Names labelled;
    std::istringstream lines(contentOf("device/sepolicy/property_contexts"));
    for (std::string name; lines >> name; lines.ignore(1000, '\n')) {
        if (name[0] != '#') labelled.insert(std::regex_replace(name, std::regex("\\$"), "="));
    }
    Names used = usedByTheDaemon();
    EXPECT_EQ(used.erase("debug.atrace.tags.enableflags"), 1U);  // readable by everybody
    EXPECT_EQ(labelled, used);
}

// Catches a search that overlooks a way in which the sources name a property, or a row.
TEST(Properties, SearchFindsEachWayOfNaming) {
    EXPECT_THAT(propertiesUsed(R"(
constexpr const char* kOne = "any name";
constexpr char kTwo[] = "two";
bool wait(const std::string& name) { return base::WaitForProperty(name, "1", x); }
    GetIntProperty<int32_t>("three", 0); base::SetProperty(kTwo, "0"); property_get(
        kOne, buffer, "");
    property_set("ctl.stop", "daemon"); helper("sys.four"); text("says sys.five."); )"),
                testing::ElementsAre("any name", "ctl.stop=daemon", "sys.four", "three", "two"));
    EXPECT_THROW(propertiesUsed("GetProperty(kElsewhere, \"\")"), std::runtime_error);
    EXPECT_THROW(propertiesUsed("property_set(\"ctl.start\", service)"), std::runtime_error);
    EXPECT_THAT(
            namesInTables("# `no`\n| Property | Who |\n|---|---|\n| `a.b` | x |\n| c | `d` |\n"),
            testing::ElementsAre("a.b"));
}

}  // namespace
}  // namespace android::kavel::test
