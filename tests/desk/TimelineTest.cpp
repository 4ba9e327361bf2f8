#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "desk/read/Read.h"
#include "desk/timeline/BuildTimeline.h"
#include "tests/desk/DeskTexts.h"
#include "tests/fake/TempDir.h"
#include "tests/tools/TestArchive.h"

namespace kaveldesk {
namespace {

using android::kavel::test::TempDir;
using test::kFirstRound;
using test::kFolder;
using test::kSecondRound;
using test::linesOf;
using test::lostLine;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;

using Files = std::vector<std::pair<std::string, std::string>>;

/** The line of a log at @p time, one hour east of UTC. */
std::string at(const std::string& time, const std::string& message) {
    return "11-21 " + time + "  1234  1240 I tag     : " + message + "\n";
}

struct Built {
    explicit Built(const Files& files) {
        const TempDir dir;
        evidence = readEvidence(dir.write("it", android::kavel::tools::tarBytes(kFolder, files)));
        timeline = buildTimeline(evidence);
        EXPECT_EQ(lostLine(evidence, timeline), "");
    }

    std::vector<std::string> lines() const { return linesOf(evidence, timeline); }
    std::string problems() const {
        std::string text;
        for (const Problem& problem : timeline.problems) text += problem.sentence + "\n";
        return text;
    }

    Evidence evidence;
    Timeline timeline;
};

const std::string kMain = std::string("android-") + kFirstRound;
const std::string kMainAgain = std::string("android-") + kSecondRound;
const std::string kKernel = std::string("kernel-") + kFirstRound;

TEST(Timeline, RoundsOfALogAreMerged) {
    const std::string begin = "--------- beginning of main\n";
    const std::string x = at("08:00:01.000", "x");
    const std::string y = at("08:00:02.000", "y");
    const std::string z = at("08:00:03.000", "z");
    const struct {
        const char* what;
        std::string first;
        std::string second;
        const char* expected;  // first letters of the messages
    } kRows[] = {
            {"same", x + y, x + y, "xy"},
            {"more", x + y, x + y + z, "xyz"},
            {"the beginning was dropped", x + y, y + z, "xyz"},
            {"a line in between was dropped", x + y + z, x + z, "xyz"},
            {"nothing in common", x, y + z, "xyz"},
            {"nothing before", "", x, "x"},
            {"nothing after", x, "", "x"},
            {"twice in both", x + y + y, y + y + z, "xyyz"},
            {"twice, with the dump in between", x + y, x + y + y + z, "xyyz"},
            {"twice, with the dump in between, and the beginning was dropped", x + y, y + y + z,
             "xyyz"},
            {"one of two was dropped", x + x + y, x + y, "xxy"},
            {"lines without a time", begin + x + begin + y, begin + x + begin + y + z, "-x-yz"},
            {"a line without a time is new", x + y, x + "\tat\n" + y, "x\ty"},
            {"the end of the first dump is cut", x + y.substr(0, 30), x + y, "x1y"},
    };
    for (const auto& row : kRows) {
        const Built built({{kMain, row.first}, {kMainAgain, row.second}});
        std::string letters;
        for (const std::string& line : built.lines()) letters += line.substr(13, 1);
        EXPECT_EQ(letters, row.expected) << row.what;
    }
}

TEST(Timeline, ThreeDumpsInSeveralFolders) {
    const std::string x = at("08:00:01.000", "x");
    const std::string y = at("08:00:02.000", "y");
    const Built built({{"other/" + kMainAgain, x + y + at("08:00:03.000", "z")},
                       {kMain, x},
                       {"other/" + kMain, x + y}});
    EXPECT_THAT(built.lines(), ElementsAre("07:00:01.000 x", "07:00:02.000 y", "07:00:03.000 z"));
}

TEST(Timeline, SourcesAreInOrderOfTime) {
    const Built built(
            {{kMain,
              at("08:33:20.000", "main") + "2026-11-21 09:33:22.500000 +0200  1  2 I t: zone\n"},
             {std::string("events-") + kFirstRound, at("08:33:21.000", "[1]") + "second line\n"},
             {std::string("radio-") + kFirstRound, "first line\n" + at("08:33:19.000", "radio")},
             {kKernel, "[   10.5] audit: audit(1795246399.500:1): x\n[   12.5] late\n"},
             {"kavel_history.txt",
              "EventType:my_anr,Timestamp:2026-11-21-08-33-21-500,loginfo:1\n"},
             {"trace_1", "----- pid 7 at 2026-11-21 07:33:23.000000000+0000 -----\n\"x\" prio=1\n"},
             {std::string("top-") + kFirstRound, "\nTasks: 1 total\nMem: 1\n"}});
    EXPECT_THAT(built.lines(),
                ElementsAre("07:33:19.000 first line", "07:33:19.000 radio",
                            "07:33:19.500 audit(1795246399.500:1): x", "07:33:20.000 main",
                            "07:33:21.000 [1]", "07:33:21.000 second line", "07:33:21.500 late",
                            HasSubstr("07:33:21.500 EventType:my_anr"), "07:33:22.500 zone",
                            HasSubstr("07:33:23.000 ----- pid 7"), "07:33:31.700 Tasks: 1 total"));
}

TEST(Timeline, KernelClock) {
    const std::string kAnswer = "[  100.0] binder: a long message\n[  101.0] other: text\n";
    const std::string inMain = "11-21 08:33:20.000     0     0 I binder  : a long message\n";
    const struct {
        const char* what;
        Files files;
        std::vector<std::string> expected;  // the kernel's lines
        const char* problem;
    } kRows[] = {
            {"phone slept",
             {{kKernel,
               "[ 10.0] a\n[ 11.0] PM: suspend entry 2026-11-21 07:00:01.000000000 UTC\n"
               "[ 11.5] PM: suspend exit 2026-11-21 07:10:00.000000000 UTC\n[ 12.5] b\n"}},
             {"07:00:00.000 a", "07:00:01.000 suspend entry 2026-11-21 07:00:01.000000000 UTC",
              "07:10:00.000 suspend exit 2026-11-21 07:10:00.000000000 UTC", "07:10:01.000 b"},
             "in the log itself (2 offsets)"},
            {"messages in the main log",
             {{kKernel, kAnswer}, {kMain, inMain}},
             {"07:33:20.000 a long message", "07:33:20.000 a long message", "07:33:21.000 text"},
             "by kernel messages in the main log"},
            {"a message that came twice tells nothing",
             {{kKernel, kAnswer}, {kMain, inMain + inMain}},
             {"07:33:20.000 a long message", "07:33:20.000 a long message",
              "07:33:30.700 a long message", "07:33:31.700 text"},
             "by the time of collection"},
            {"nearest dump",
             {{kKernel, kAnswer},
              {std::string("kernel-") + kSecondRound, kAnswer + "[  105.0] end\n"}},
             {"07:33:30.700 a long message", "07:33:31.700 text", "07:33:35.700 end"},
             "by the time of collection"},
            {"nothing but the event",
             {{"dmesg", kAnswer}},
             {"07:33:30.583 a long message", "07:33:31.583 text"},
             "shown at the time of the event"},
    };
    for (const auto& row : kRows) {
        const Built built(row.files);
        EXPECT_THAT(built.lines(), ElementsAreArray(row.expected)) << row.what;
        EXPECT_THAT(built.problems(), HasSubstr(row.problem)) << row.what;
    }
}

TEST(Timeline, ClocksThatJump) {
    const auto day = [](const char* date, const char* text) {
        return std::string(date) + " 08:00:00.000     1     2 I t: " + text + "\n";
    };
    const struct {
        const char* what;
        std::string log;
        std::vector<std::string> expected;
    } kRows[] = {
            {"set back by a day: the order stays",
             day("11-21", "a") + day("11-21", "b") + day("11-20", "c") + day("11-20", "d"),
             {"2026-11-20 a", "2026-11-20 b", "2026-11-20 c", "2026-11-20 d"}},
            {"a late line goes where it belongs",
             day("11-19", "a") + day("11-18", "late") + day("11-20", "b"),
             {"2026-11-18 late", "2026-11-19 a", "2026-11-20 b"}},
            {"a wrong time does not move the others",
             day("11-19", "a") + day("11-21", "wrong") + day("11-19", "b"),
             {"2026-11-19 a", "2026-11-19 wrong", "2026-11-19 b"}},
            {"the year before",
             day("12-31", "a") + day("11-20", "b"),
             {"2025-12-31 a", "2026-11-20 b"}},
            {"the year of the lines around it",
             day("11-02", "a") + day("2024-11-03", "b") + day("11-04", "c") + day("12-31", "d") +
                     day("2025-09-01", "e") + day("12-05", "f"),
             {"2024-11-02 a", "2024-11-03 b", "2024-11-04 c", "2024-12-31 d", "2025-09-01 e",
              "2025-12-05 f"}},
            {"leap day", day("02-29", "a") + day("11-20", "b"), {"2024-02-29 a", "2026-11-20 b"}},
    };
    for (const auto& row : kRows) {
        const Built built({{kMain, row.log}});
        std::vector<std::string> lines;
        for (const Record& record : built.timeline.records) {
            lines.push_back(timeText(record.utcNs, 0).substr(0, 11) +
                            std::string(textOf(built.evidence, record).substr(record.messageAt)));
        }
        EXPECT_THAT(lines, ElementsAreArray(row.expected)) << row.what;
    }
}

TEST(Timeline, Marks) {
    const Built built({{kMain, ""},
                       {kMainAgain, ""},
                       {"top-2026-11-21-08-33-32-000.txt", ""},
                       {"kavel_history.txt",
                        "EventType:my_anr,Timestamp:2026-11-21-08-33-31-583,loginfo:1\n"}});
    std::string marks;
    for (const Mark& mark : built.timeline.marks) {
        marks += mark.label + timeText(mark.fromNs, 0).substr(16) +
                 timeText(mark.toNs, 0).substr(16) + "\n";
    }
    EXPECT_EQ(marks,
              "event my_anr:31.583:31.583\nwindow:31.583:41.700\nround 1:31.700:32.000\n"
              "round 2:41.700:41.700\n");
}

/** Each text as each of the logs: most lines are unknown then. */
void expectNoLineIsLost(Evidence evidence) {
    EXPECT_EQ(lostLine(evidence, buildTimeline(evidence)), "");
    for (const FileKind kind : {FileKind::MainLog, FileKind::EventsLog, FileKind::KernelLog}) {
        for (EvidenceFile& file : evidence.files) file.kind = kind;
        EXPECT_EQ(lostLine(evidence, buildTimeline(evidence)), "");
    }
}

TEST(Timeline, NoLineIsLost) {
    const TempDir dir;
    expectNoLineIsLost(readEvidence(
            dir.write("it", std::string(1 << 20, 'x') + "\n\n\r\n \r\n\xff\xfe\n" +
                                    at("08:00:00.000", "a") + "\tat b\r\n[ 1.5] c\nd")));
}

TEST(Timeline, NoLineOfARealPhoneIsLost) {
    const char* const samples = getenv("KAVEL_SAMPLES");
    if (samples == nullptr) GTEST_SKIP() << "KAVEL_SAMPLES names no folder of logs of phones";
    Evidence evidence = readEvidence(samples);
    EXPECT_GT(evidence.files.size(), 20U);
    for (const EvidenceFile& file : evidence.files) {
        EXPECT_EQ(android::kavel::test::contentOf(samples + ("/" + file.name)), file.text);
    }
    expectNoLineIsLost(std::move(evidence));
}

}  // namespace
}  // namespace kaveldesk
