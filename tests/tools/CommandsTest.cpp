#include "tools/Commands.h"

#include "event/EventTypes.h"
#include "tests/fake/TempDir.h"
#include "tests/tools/RunKavelctl.h"
#include "tests/tools/TestArchive.h"

namespace android::kavel::tools {
namespace {

// Catches help that needs a right command line, and one that is taken from an option's value; words
// that no script can hold.
TEST(Commands, HelpAndVersion) {
    for (const char* name : {"set", "send", "list", "show", "explain", "stats", "raw"}) {
        const Result result = run({name, "--help"});
        EXPECT_EQ(result.exitCode, kExitOk);
        EXPECT_EQ(result.out.rfind(std::string("usage: kavelctl ") + name, 0), 0U) << name;
        EXPECT_TRUE(contains(run({"--help"}).out, std::string("\n  ") + name));
    }
    EXPECT_EQ(run({}).exitCode, kExitUsage);
    EXPECT_EQ(run({"set", "3", "--name", "\xff"}).exitCode, kExitUsage);
    EXPECT_EQ(run({"list", "--dir", "--help"}).exitCode, kExitRefused);
    EXPECT_EQ(run({"--version"}).out.rfind("kavelctl ", 0), 0U);
}

// Catches a field of the JSON document that is missing or named otherwise.
TEST(Commands, ExplainsInJson) {
    const Json::Value json = parseJson(run({"explain", "0x40", "--event", "4", "--json"}).out);
    EXPECT_TRUE(json["waitsFullTime"].asBool());
    EXPECT_EQ(json["neverCollected"].asString(), "0x40");
    EXPECT_EQ(json["event"]["frameworkTrace"].asString(), "0x10004001");
    EXPECT_EQ(json["bits"].size(), 2U);
    const auto commercial = [](std::vector<std::string> words) {
        words.insert(words.begin(), {"explain", "0x3", "--json"});
        const Json::Value part = parseJson(run(words).out)["commercial"];
        return part["part"].asString() + " " + part["secondRound"].asString() + " " +
               part["waitSeconds"].asString();
    };
    EXPECT_EQ(commercial({}), "  ");
    EXPECT_EQ(commercial({"--event", "0xf05"}), "action 0x3 0");
    EXPECT_EQ(commercial({"--event", "0xf06"}), "neighbour 0x0 15");
    EXPECT_EQ(commercial({"--event", "0xe01"}), "none 0x0 0");
}

// Catches an event type that is found by its id only, or shown with another row than its own.
TEST(Commands, ExplainsEventTypes) {
    const auto rows = [](const std::string& event) {
        return parseJson(run({"explain", "--event=" + event, "--json"}).out)["eventTypes"];
    };
    EXPECT_EQ(rows("").size(), kEventTypeCount + 1);
    EXPECT_EQ(rows("kavel_event_Ui_Timeout"), rows("0x4"));
    EXPECT_EQ(rows("4")[0]["systemTrace"].asString(), "framework 0x10004001");
    EXPECT_TRUE(contains(run({"explain", "--event"}).out, "\n  any other "));
    EXPECT_TRUE(contains(run({"explain", "--event", "0xf03"}).out,
                         "event type 0xf03\n\nEvent type: 0xf01 to 0xf05\n"));
}

class CollectionCommands : public testing::Test {
  protected:
    const test::TempDir folder;

    static std::string name(const std::string& subject, const std::string& second) {
        return "kavel_" + subject + "@831be687eb45bbc0@V1@2024-03-07-09-05-" + second + "-007";
    }

    void pack(const std::string& archive, const FileTexts& files) const {
        folder.write(archive + ".tar.gz", gzipBytes(tarBytes(archive, files)));
    }

    Result runHere(std::vector<std::string> words) const {
        words.insert(words.end(), {"--dir", folder / ""});
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
    const std::string clearScreen =
            "\xc2\x9b"
            "2J";
    folder.write(name("cut_x" + clearScreen, "02") + ".tar.gz", "junk");
    folder.write("dravo-trace", "foreign");
    std::filesystem::create_directory(folder / (name("a_directory", "09") + ".tar.gz"));

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
    EXPECT_EQ(archives[1]["process"].asString(), "x" + clearScreen);
    EXPECT_EQ(archives[1]["broken"].asString(), "not a gzip file");
    EXPECT_EQ(archives[2]["time"].asString(), "2024-03-07T09:05:01.007");

    const Result text = runHere({"list"});
    EXPECT_EQ(text.exitCode, kExitOk);
    EXPECT_TRUE(contains(text.out, "x\\xc2\\x9b2J  BROKEN: not a gzip file")) << text.out;
    EXPECT_TRUE(contains(text.out, "3 archives in ")) << text.out;
    EXPECT_TRUE(contains(text.out, "2 other entries ignored")) << text.out;
}

// Catches two archives of one folder listed as one or in a wrong order, processes that joined
// a catch and stay out of sight, and a bad line that hides the good ones.
TEST_F(CollectionCommands, TellsOfEveryEventOfACatch) {
    const auto event = [](const std::string& process, const std::string& name) {
        return R"({"utc":"u","local":"2024-03-07T09:05:01.007+01:00","recordId":77,"eventId":"0x101",)"
               R"("name":")" +
               name + R"(","pid":12,"uid":34,"process":")" + process +
               R"(","version":"1.0","type":"t","mask":"0x13","new":1})"
               "\n";
    };
    const std::string archive = name("anr_com.a", "01");
    const std::string lines = event("com.a", "anr") + "junk\x1b\n" + event("", "hang") +
                              event("com.b", "x") + event("com.c", "x") + event("com.b", "x");
    pack(archive, {{"kavel_events.txt", lines}});
    pack(name("anr_com.z", "00"), {});
    const std::string second = gzipBytes(
            tarBytes(archive, {{"kavel_events.txt", lines + event("d", "x") + event("e", "x")}}));
    folder.write(archive + ".10.tar.gz", second);
    folder.write(archive + ".2.tar.gz", gzipBytes(tarBytes(archive, {})));

    const Result list = runHere({"list"});
    const size_t tenth =
            list.out.find("  anr    com.a, com.b, com.c, d and 1 more  (archive 10 of");
    const size_t next = list.out.find("  anr    com.a  (archive 2 of its folder)\n");
    const size_t first = list.out.find("  anr    com.a, com.b, com.c\n");
    EXPECT_LT(tenth, next) << list.out;
    EXPECT_LT(next, first) << list.out;
    EXPECT_LT(first, list.out.find("  anr    com.z\n")) << list.out;

    const Json::Value json = parseJson(runHere({"list", "--json"}).out)["archives"];
    ASSERT_EQ(json.size(), 4U);
    EXPECT_EQ(json[0]["sequence"].asInt(), 10);
    EXPECT_EQ(json[1]["events"].size(), 0U);
    EXPECT_EQ(json[2]["events"].size(), 5U);
    EXPECT_EQ(json[2]["events"][1]["new"].asInt(), 1);
    EXPECT_EQ(json[2]["malformedEvents"][0].asString(), "junk\x1b");
    const Json::Value shown = parseJson(runHere({"show", archive, "--json"}).out);
    EXPECT_EQ(shown["events"], json[2]["events"]);

    const Result text = runHere({"show", "-1"});
    const std::string time = "  2024-03-07T09:05:01.007+01:00  ";
    EXPECT_TRUE(contains(text.out, "number   10 of this folder\n")) << text.out;
    EXPECT_TRUE(contains(text.out,
                         "events (7):\n  TIME                           RECORD  EVENT  "
                         "NAME  PID  UID  PROCESS  VERSION  TYPE  MASK\n" +
                                 time +
                                 "77      0x101  anr   12   34   com.a    1.0"
                                 "      t     0x13\n"))
            << text.out;
    EXPECT_TRUE(contains(text.out, "\n  malformed: junk\\x1b\n")) << text.out;
}

// Catches a list that spends seconds on an archive that unpacks to a thousand times its size, and
// one that says so of the wrong archive.
TEST_F(CollectionCommands, ListSaysWhatItDidNotRead) {
    const std::string zeros(size_t{70} << 20, '\0');
    pack(name("anr_com.a", "01"), {{"a", zeros}, {"b", "1"}});
    pack(name("anr_com.a", "02"), {{"a", "1"}});
    const Result list = runHere({"list"});
    EXPECT_TRUE(contains(list.out, " 1+  anr")) << list.out;
    EXPECT_TRUE(contains(list.out, "; N+ files: ")) << list.out;
    EXPECT_TRUE(contains(list.out, " 1  anr")) << list.out;
    const Json::Value json = parseJson(runHere({"list", "--json"}).out)["archives"];
    EXPECT_FALSE(json[0]["partial"].asBool());
    EXPECT_TRUE(json[1]["partial"].asBool());
    EXPECT_TRUE(json[1]["broken"].isNull());
    const Json::Value shown = parseJson(runHere({"show", "-2", "--json"}).out);
    EXPECT_EQ(shown["fileCount"].asInt(), 2);
    EXPECT_FALSE(shown["partial"].asBool());
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
         {std::string("-1"), archive, archive + ".tar.gz", folder / archive}) {
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

}  // namespace
}  // namespace android::kavel::tools
