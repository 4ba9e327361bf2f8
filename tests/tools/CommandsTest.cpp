#include "tools/Commands.h"

#include "tests/tools/RunKavelctl.h"
#include "tests/tools/TestArchive.h"

namespace android::kavel::tools {
namespace {

// Catches a wrong command line that does something, exits with another code or says nothing.
TEST(Commands, WrongUsageExitsWithTwo) {
    const std::vector<std::string> cases[] = {
            {"bogus"},
            {"set"},
            {"set", "3"},
            {"set", "3", "--recover-id", "0"},
            {"set", "3x", "--name", "n"},
            {"set", "3", "4", "--name", "n"},
            {"set", "3", "--name"},
            {"set", "3", "--name", "n", "--name", "m"},
            {"set", "3", "--name", "n", "--enable", "--disable"},
            {"set", "3", "--name", "n", "--enable=yes"},
            {"set", "3", "--name", "n", "--window", "-1"},
            {"set", "3", "--name", "n", "--freq", "1.5"},
            {"set", "3", "--name", "\xff"},
            {"set", "3", "--name", "n", "-x"},
            {"send", "0x8000000000000000"},
            {"send", "1", "--log-info", "0x80000000"},
            {"send", "1", "--log-info", "nonsense"},
            {"send", "1", "--pid", "2147483648"},
            {"send", "1", "--uid", "-1"},
            {"send", "1", "--process", "p", "--extra", "e"},
            {"send", "3", "--process", "p"},
            {"list", "x"},
            {"list", "--bogus"},
            {"show"},
            {"show", "-0"},
            {"explain"},
            {"explain", "0x100000000"},
            {"explain", "1", "--event", "junk"},
            {"raw"},
            {"raw", "1"},
            {"raw", "1", "n"},
            {"raw", "-", "n"},
            {"raw", "x", "n", "1"},
            {"raw", "1", "n", "1", "9223372036854775808"},
            {"raw", "1", "", "1"},
            {"raw", "1", "a:b", "1"},
            {"raw", "1", std::string(252, 'n'), "1"},
    };
    for (const auto& words : cases) {
        const Result result = run(words);
        const std::string shown = testing::PrintToString(words);
        EXPECT_EQ(result.exitCode, kExitUsage) << shown;
        EXPECT_EQ(result.err.rfind("kavelctl: ", 0), 0U) << shown << result.err;
        EXPECT_EQ(result.out, "") << shown;
    }
    EXPECT_EQ(run({}).exitCode, kExitUsage);
}

// Catches help that needs a right command line, and one that is taken from an option's value.
TEST(Commands, HelpAndVersion) {
    for (const char* name : {"set", "send", "list", "show", "explain", "stats", "raw"}) {
        const Result result = run({name, "--help"});
        EXPECT_EQ(result.exitCode, kExitOk);
        EXPECT_EQ(result.out.rfind(std::string("usage: kavelctl ") + name, 0), 0U) << name;
        EXPECT_TRUE(contains(run({"--help"}).out, std::string("\n  ") + name));
    }
    EXPECT_EQ(run({"list", "--dir", "--help"}).exitCode, kExitRefused);
    EXPECT_EQ(run({"--version"}).out.rfind("kavelctl ", 0), 0U);
}

class CollectionCommands : public testing::Test {
  protected:
    const TemporaryFolder folder;

    static std::string name(const std::string& subject, const std::string& second) {
        return "kavel_" + subject + "@831be687eb45bbc0@V1@2024-03-07-09-05-" + second + "-007";
    }

    void pack(const std::string& archive, const FileTexts& files) const {
        folder.write(archive + ".tar.gz", gzipBytes(tarBytes(archive, files)));
    }

    Result runHere(std::vector<std::string> words) const {
        words.insert(words.end(), {"--dir", folder.path().string()});
        return run(words);
    }
};

// Catches a wrong order, foreign files in the list, broken archives that hide or end the list.
TEST_F(CollectionCommands, ListsNewestFirst) {
    pack(name("anr_com.a", "01"), {{"a.txt", "1"}});
    pack(name("black_screen_system", "03"),
         {{"kavel_history.txt",
           "EventType:black_screen,Timestamp:2024-03-07-09-05-03-007,loginfo:3,eventID:9\n"},
          {"b.txt", "2"}});
    folder.write(name("cut_x\x1b[2J", "02") + ".tar.gz", "junk");
    folder.write("dravo-trace", "foreign");
    std::filesystem::create_directory(folder.path() / (name("a_directory", "09") + ".tar.gz"));

    const Result json = runHere({"list", "--json"});
    EXPECT_EQ(json.exitCode, kExitOk);
    const Json::Value document = parseJson(json.out);
    EXPECT_EQ(document["passedOver"].asInt(), 2);
    const Json::Value& archives = document["archives"];
    ASSERT_EQ(archives.size(), 3U);
    EXPECT_EQ(archives[0]["index"].asInt(), -1);
    EXPECT_EQ(archives[0]["event"].asString(), "black_screen");
    EXPECT_EQ(archives[0]["process"].asString(), "system");
    EXPECT_EQ(archives[0]["fileCount"].asInt(), 2);
    EXPECT_TRUE(archives[0]["broken"].isNull());
    EXPECT_EQ(archives[1]["process"].asString(), "x\x1b[2J");
    EXPECT_EQ(archives[1]["broken"].asString(), "not a gzip file");
    EXPECT_EQ(archives[2]["time"].asString(), "2024-03-07T09:05:01.007");

    const Result text = runHere({"list"});
    EXPECT_EQ(text.exitCode, kExitOk);
    EXPECT_TRUE(contains(text.out, "x\\x1b[2J  BROKEN: not a gzip file")) << text.out;
    EXPECT_TRUE(contains(text.out, "3 archives in ")) << text.out;
    EXPECT_TRUE(contains(text.out, "2 other entries passed over")) << text.out;
}

// Catches an archive that cannot be named in one of the ways that help promises, and texts or
// files that are not shown.
TEST_F(CollectionCommands, ShowsTheArchiveThatIsMeant) {
    const std::string archive = name("anr_com.a", "01");
    const std::string line =
            "EventType:anr,Timestamp:2024-03-07-09-05-01-007,loginfo:103b,eventID:77";
    pack(archive, {{"kavel_history.txt", line + "\n"},
                   {"extraInfo.txt", "[PackageName]:$(touch /x)\x1b\n[PackageVersion]:\xff\n"}});
    pack(name("old_b", "00"), {});
    for (const std::string& wanted :
         {std::string("-1"), archive, archive + ".tar.gz", (folder.path() / archive).string()}) {
        const Result text = runHere({"show", wanted});
        EXPECT_EQ(text.exitCode, kExitOk) << wanted << text.err;
        EXPECT_TRUE(contains(text.out, "  " + line + "\n")) << text.out;
        EXPECT_TRUE(contains(text.out, "  [PackageName]:$(touch /x)\\x1b\n")) << text.out;
        EXPECT_TRUE(contains(text.out, "kavel_history.txt\n")) << text.out;
    }
    const Json::Value json = parseJson(runHere({"show", "-1", "--json"}).out);
    EXPECT_EQ(json["history"][0]["logInfo"].asString(), "0x103b");
    EXPECT_EQ(json["history"][0]["recordId"].asInt(), 77);
    EXPECT_TRUE(contains(json["extraInfo"].asString(), "[PackageVersion]:\xef\xbf\xbd\n"));
    EXPECT_EQ(json["files"].size(), 2U);
    EXPECT_TRUE(parseJson(runHere({"show", "-2", "--json"}).out)["extraInfo"].isNull());

    for (const char* wanted : {"-3", "-9223372036854775808", "none", "/none"}) {
        const Result result = runHere({"show", wanted});
        EXPECT_EQ(result.exitCode, kExitRefused) << wanted;
        EXPECT_EQ(result.err.rfind("kavelctl: ", 0), 0U) << result.err;
    }
    EXPECT_EQ(run({"list", "--dir", "/none"}).exitCode, kExitRefused);
}

// Catches a broken archive passing for a sound one, or what can be read of it being kept back.
TEST_F(CollectionCommands, ShowsWhatABrokenArchiveStillHolds) {
    const std::string tar = tarBytes("f", {{"first.txt", "1"}, {"second.txt", "2"}});
    folder.write("copied.tar.gz", gzipBytes(tar).substr(0, gzipBytes(tar).size() - 4));
    const Result text = runHere({"show", "copied"});
    EXPECT_EQ(text.exitCode, kExitRefused);
    EXPECT_TRUE(contains(text.out, "second.txt")) << text.out;
    EXPECT_TRUE(contains(text.out, "\nbroken: the file is cut off")) << text.out;
    const Json::Value json = parseJson(runHere({"show", "copied", "--json"}).out);
    EXPECT_EQ(json["broken"].asString(), "the file is cut off");
    EXPECT_TRUE(json["event"].isNull());
}

// Catches an explanation that loses its warning on the way to the user.
TEST(Commands, ExplainSaysWhenThePackWaits) {
    const Result power = run({"explain", "power"});
    EXPECT_TRUE(contains(power.out, "records 0x20 (BINDERINFO)")) << power.out;
    EXPECT_TRUE(contains(power.out, "waits its full 17 s")) << power.out;
    EXPECT_TRUE(contains(run({"explain", "0x103B"}).out, "2 s after all commands have ended"));
    EXPECT_TRUE(contains(run({"explain", "-1"}).out, "0x80000000 unknown\n    starts nothing"));
    const Json::Value json = parseJson(run({"explain", "0x40", "--event", "4", "--json"}).out);
    EXPECT_TRUE(json["waitsFullTime"].asBool());
    EXPECT_EQ(json["neverCollected"].asString(), "0x40");
    EXPECT_EQ(json["event"]["frameworkTrace"].asString(), "0x10004001");
    EXPECT_EQ(json["bits"].size(), 2U);
}

}  // namespace
}  // namespace android::kavel::tools
