#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "tests/structure/Blueprint.h"
#include "tests/structure/Repository.h"

namespace android::kavel::test {
namespace {

using Strings = std::vector<std::string>;

Strings sorted(Strings strings) {
    std::sort(strings.begin(), strings.end());
    return strings;
}

Strings operator+(Strings all, const Strings& more) {
    all.insert(all.end(), more.begin(), more.end());
    return sorted(all);
}

class AndroidBp : public testing::Test {
  protected:
    /** What the build for a phone compiles into @p module, sorted, patterns as they stand. */
    Strings phoneSources(const std::string& module) const {
        const BlueprintValue& properties = modules.at(module).properties;
        return properties.at("srcs").list + properties.at("target.android.srcs").list;
    }

    const std::map<std::string, BlueprintModule> modules = parseBlueprint(contentOf("Android.bp"));
};

// Catches a source that one of the builds forgets, or compiles twice, and one of the desktop's
// stand-ins in the phone's library.
TEST_F(AndroidBp, LibraryHoldsEverySourceOfTheDaemonOnce) {
    const Strings library = phoneSources("libdravo_kavel");
    EXPECT_EQ(library, sourcesOf("kavel") + sourcesOf("kavel_sysrq_trigger"));

    Strings onDisk;
    for (const char* room : {"core", "dig", "dump", "event", "handler", "platform", "recovery"}) {
        onDisk = onDisk + filesOf(std::string(room) + "/*.cpp");
    }
    EXPECT_EQ(library + phoneSources("dravo_kavel"), onDisk);
}

// Catches a program that is put together differently for the phone.
TEST_F(AndroidBp, ProgramsHaveTheSourcesThatCMakeGivesThem) {
    EXPECT_EQ(phoneSources("dravo_kavel"), sourcesOf("dravo_kavel"));
    EXPECT_EQ(phoneSources("libkavelctl"), sourcesOf("kavelctl_lib"));
    EXPECT_EQ(phoneSources("kavelctl"), sourcesOf("kavelctl"));
    EXPECT_EQ(modules.at("kavelctl_defaults").properties.at("cflags").list,
              Strings{"-DKAVELCTL_VERSION=\"" KAVEL_VERSION "\""});
}

// Catches a phone that crashes a build machine's kernel: what reaches it is the phone's alone.
TEST_F(AndroidBp, PanicTriggerIsCompiledForThePhoneOnly) {
    const BlueprintValue& library = modules.at("libdravo_kavel").properties;
    const Strings phoneOnly = library.at("target.android.srcs").list;
    for (const std::string& source : sourcesOf("kavel_sysrq_trigger")) {
        EXPECT_EQ(std::count(phoneOnly.begin(), phoneOnly.end(), source), 1) << source;
    }
}

// Catches a file that was moved or removed, and a stand-in of the desktop in any module.
TEST_F(AndroidBp, EveryFileThatIsNamedIsThereAndNoneIsTheHosts) {
    for (const auto& [name, module] : modules) {
        for (const char* property : {"srcs", "target.android.srcs", "init_rc", "corpus"}) {
            for (const std::string& file : module.properties.at(property).list) {
                EXPECT_FALSE(filesOf(file).empty()) << name << ": " << file;
                EXPECT_NE(file.rfind("host/", 0), 0U) << name << ": " << file;
            }
        }
        const std::string& dictionary = module.properties.at("dictionary").text;
        EXPECT_TRUE(dictionary.empty() || !filesOf(dictionary).empty()) << dictionary;
    }
}

// Catches a daemon that init does not find: the partition stands in both files.
TEST_F(AndroidBp, InitStartsTheDaemonFromThePartitionThatItIsInstalledIn) {
    const BlueprintValue& daemon = modules.at("dravo_kavel").properties;
    EXPECT_EQ(daemon.at("system_ext_specific").text, "true");
    ASSERT_EQ(daemon.at("init_rc").list.size(), 1U);
    const std::string rc = contentOf(daemon.at("init_rc").list[0]);
    EXPECT_NE(rc.find("\nservice dravo_kavel /system_ext/bin/dravo_kavel\n"), std::string::npos);
}

// Catches a parser that reads past what it does not understand, so that the tests above see less.
TEST(Blueprint, RefusesWhatItDoesNotUnderstand) {
    const auto modules = parseBlueprint("// c\na { name: \"n\", l: [\"x\", \"y\\\"\"], b: true, }");
    EXPECT_EQ(modules.at("n").properties.at("l").list, (Strings{"x", "y\""}));
    for (const char* bad : {"a", "a {", "a { b: 1 }", "a { b: \"c", "a { b: [\"c\" \"d\"], }",
                            "a { b: x + y, }", "a { b: c, b: d, }", "a { } a { }", "v = [\"x\"]"}) {
        EXPECT_THROW(parseBlueprint(bad), std::runtime_error) << bad;
    }
}

}  // namespace
}  // namespace android::kavel::test
