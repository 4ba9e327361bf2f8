#include "desk/read/Read.h"

#include <fmt/core.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>

#include "desk/parse/Time.h"
#include "tests/desk/DeskTexts.h"
#include "tests/fake/TempDir.h"
#include "tests/tools/TestArchive.h"

namespace kaveldesk {
namespace {

using android::kavel::test::TempDir;
using android::kavel::tools::gzipBytes;
using android::kavel::tools::setTarChecksum;
using android::kavel::tools::tarBytes;
using android::kavel::tools::tarHeader;
using android::kavel::tools::tarMember;
using test::kFolder;
using testing::HasSubstr;

const std::string kEnd(1024, '\0');

/** Files as "name=text", then problems as "name! sentence", one a line. */
std::string summary(const Evidence& evidence) {
    std::string text;
    for (const EvidenceFile& file : evidence.files) text += file.name + "=" + file.text + "\n";
    for (const Problem& problem : evidence.problems) {
        if (problem.sentence.find("not known") != std::string::npos) continue;
        text += problem.file + "! " + problem.sentence + "\n";
    }
    return text;
}

TEST(Read, AnyBytes) {
    const std::string inner = gzipBytes(tarMember("b", "text") + kEnd);
    const std::string whole = gzipBytes(tarMember("a", "x") + tarMember("b", "y") + kEnd);
    std::string hardLink = tarHeader("l", 0, '1');
    hardLink.replace(157, 1, "a");
    setTarChecksum(hardLink.data());
    const std::string big(3000, 'x');
    const struct {
        const char* what;
        std::string bytes;
        const char* expected;  // a part of the summary
    } kRows[] = {
            {"packed tar", whole, "a=x\nb=y\n"},
            {"plain tar", tarMember("a", "x") + kEnd, "a=x\n"},
            {"damaged", std::string(whole).replace(whole.size() - 12, 4, "\xff\xff\xff\xff"),
             "it! The archive is not whole: the packed data is damaged."},
            {"two gzip members", gzipBytes("a\n") + gzipBytes("b\n") + std::string(9, '\0'),
             "it=a\nb\n"},
            {"one text", "only text\n", "it=only text\n"},
            {"one packed text", gzipBytes("only text\n"), "it=only text\n"},
            {"cut", whole.substr(0, whole.size() - 20), "a=x\n"},
            {"cut says so", whole.substr(0, whole.size() - 20),
             "it! The archive is not whole: the packed data ends early."},
            {"cut in a file", tarMember("a", "x") + tarMember("b", big).substr(0, 2000), "b=xxx"},
            {"cut in a file says so", tarMember("b", big).substr(0, 2000),
             "b! The archive is damaged or ends early here: 1488 bytes are read"},
            {"names are labels", tarMember("../../etc/x", "1") + tarMember("/abs", "2") + kEnd,
             "../../etc/x=1\n/abs=2\n"},
            {"link", tarHeader("l", 0, '2') + kEnd, "l! This is a link"},
            {"hard link", hardLink + kEnd, "l! This is a link"},
            {"device", tarHeader("d", 0, '3') + tarHeader("p", 0, '6') + tarMember("a", "x") + kEnd,
             "a=x\nd! This is a device or pipe, not a file.\np! This"},
            {"archive inside", tarMember("i.tar.gz", inner) + kEnd, "i.tar.gz/b=text\n"},
            {"packed text inside", tarMember("i.txt.gz", gzipBytes("text")) + kEnd, "i.txt=text\n"},
            {"not an archive inside", tarMember("i", "PK\x03\x04 no") + tarMember("a", "x") + kEnd,
             "a=x\n"},
            {"three levels",
             tarMember("1", tarMember("2", tarMember("3", "x") + kEnd) + kEnd) + kEnd, "1/2/3=x\n"},
            {"four levels",
             tarMember("1",
                       tarMember("2", tarMember("3", tarMember("4", "x") + kEnd) + kEnd) + kEnd) +
                     kEnd,
             "1/2/3! This archive is inside too many others"},
            {"bytes", tarMember("b", std::string(100, '\1')) + kEnd, "b=\n"},
            {"bytes that are not UTF-8", tarMember("b", "\xff\xfe text") + kEnd, "b=\xff\xfe text"},
            {"system trace", tarMember("x_dravo-trace_1", "text") + kEnd, "x_dravo-trace_1=\n"},
            {"neither", std::string("\1\2\3\4"), "! This is neither an archive nor text."},
            {"empty", "", "! The file is empty."},
            {"zeros", gzipBytes(std::string(99'999, '\0')), "! It begins with zero bytes, as"},
            {"log folder", tarBytes(kFolder, {{"a", "x"}, {"sub/b", "y"}}), "x\nsub/b=y\n"},
            {"log folder and more",
             tarBytes(kFolder, {{"a", "x"}}).substr(0, 1024) + tarMember("b", "y") + kEnd,
             "/a=x\nb=y\n"},
    };
    for (const auto& row : kRows) {
        const TempDir dir;
        EXPECT_THAT(summary(readEvidence(dir.write("it", row.bytes))), HasSubstr(row.expected))
                << row.what;
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir / ""), {}), 1) << row.what;
    }
}

TEST(Read, Limits) {
    const std::string bytes = tarMember("a", "123456789") + tarMember("b", "123456789") + kEnd;
    const struct {
        const char* what;
        std::function<void(ReadLimits&)> set;
        const char* expected;
    } kRows[] = {
            {"members", [](ReadLimits& limits) { limits.members = 1; },
             "a=123456789\n! The archive has more than 1 files"},
            {"member", [](ReadLimits& limits) { limits.memberBytes = 4; },
             "a=1234\nb=1234\na! Only the first 4 of 9 bytes"},
            {"kept", [](ReadLimits& limits) { limits.keptBytes = 12; },
             "a=123456789\nb=12\nb! Only"},
            {"reserve",
             [](ReadLimits& limits) {
                 limits.keptBytes = 12;
                 limits.reservedBytes = 8;
                 limits.smallBytes = 6;
             },
             "a=123456\nb=12345\na! Only the first 6 of 9 bytes"},
            {"unpacked", [](ReadLimits& limits) { limits.unpackedBytes = 12; },
             "b=123456789\n! The archive unpacks to more than 12 bytes"},
    };
    for (const auto& row : kRows) {
        const TempDir dir;
        ReadLimits limits;
        row.set(limits);
        EXPECT_THAT(summary(readEvidence(dir.write("it", bytes), limits)), HasSubstr(row.expected))
                << row.what;
    }
}

TEST(Read, Folder) {
    const TempDir dir;
    std::filesystem::create_directories(dir / "sub");
    dir.write("sub/b", "text");
    dir.write("a.tar.gz", gzipBytes(tarMember("c", "inside") + kEnd));
    std::filesystem::create_symlink("/etc/passwd", dir / "link");
    EXPECT_EQ(summary(readEvidence(dir / "")),
              "a.tar.gz/c=inside\nsub/b=text\nlink! This is a link. Links are not followed.\n");
    for (const char* path : {"none", ""}) {
        EXPECT_THROW(readEvidence(path), std::runtime_error);
    }

    EXPECT_EQ(evidencePaths(dir / "").size(), 1U);
    const std::string archive = dir.write(std::string(kFolder) + ".2.tar.gz", "");
    EXPECT_EQ(evidencePaths(dir / ""), std::vector<std::filesystem::path>{archive});
}

std::string incidentText(const Incident& incident) {
    return fmt::format("{}|{:#x}|{}|{}|{}|{}|{}|{}|{:#x}|{}|{}", incident.event, incident.eventId,
                       incident.process, incident.version, incident.type, incident.build,
                       incident.pid, incident.uid, incident.mask, timeText(incident.utcNs, 0),
                       incident.hasUtcOffset ? offsetText(incident.utcOffsetSeconds) : "-");
}

TEST(Read, Incident) {
    const std::string event =
            R"({"utc":"2026-11-21T07:33:31.583Z","local":"2026-11-21T13:03:31.583+05:30",)"
            R"("recordId":-5,"eventId":"0x101","name":"my_anr","pid":12,"uid":10086,)"
            R"("process":"com.a","version":"14.0","type":"t","mask":"0x13","new":[[1]]})"
            "\n";
    const std::string history =
            "EventType:my_anr,Timestamp:2026-11-21-08-33-31-583,loginfo:40000001,eventID:-5\n";
    const std::string kLater = R"({"utc":"2026-11-21T07:33:32.000Z","mask":"0x4","name":"second"})"
                               "\n";
    const struct {
        std::string archive;
        std::vector<std::pair<std::string, std::string>> files;
        const char* expected;
    } kRows[] = {
            {std::string(kFolder) + ".tar.gz",
             {{"kavel_events.txt", "no event\n{\"utc\":5}\n" + event + kLater}},
             "my_anr|0x101|com.a|14.0|t|V1|12|10086|0x17|2026-11-21 07:33:31.583|+05:30"},
            {std::string(kFolder) + ".3.tar.gz",
             {{"kavel_history.txt", history},
              {"extraInfo.txt", "[PackageName]:com.b\n[PackageVersion]:2\n[eventType]:crash\n"}},
             "my_anr|0x0|com.b|2|crash|V1|0|0|0x40000001|2026-11-21 07:33:31.583|+01:00"},
            {"renamed.tgz",
             {{"kavel_history.txt", history}},
             "my_anr|0x0|com.example.app|||V1|0|0|0x40000001|2026-11-21 07:33:31.583|+01:00"},
            {"kavel_a_b@0000000000000001@V@2026-11-21-08-33-31-583.tar.gz",
             {{"a.txt", "x"}},
             "a_b|0x0||||V|0|0|0x0|1970-01-01 00:00:00.000|-"},
            {"renamed.tgz",
             {{"a.txt", "x"}},
             "my_anr_com.example.app|0x0||||V1|0|0|0x0|2026-11-21 07:33:31.583|+01:00"},
            {std::string(kFolder) + ".tar.gz",
             {{std::string(kFolder) + "/kavel_history.txt", "EventType:other,Timestamp:x\n"},
              {"kavel_history.txt", history}},
             "my_anr|0x0|com.example.app|||V1|0|0|0x40000001|2026-11-21 07:33:31.583|+01:00"},
    };
    for (const auto& row : kRows) {
        const TempDir dir;
        const std::string path = dir.write(row.archive, gzipBytes(tarBytes(kFolder, row.files)));
        EXPECT_EQ(incidentText(readEvidence(path).incident), row.expected) << row.archive;
    }
    const TempDir dir;
    EXPECT_EQ(incidentText(readEvidence(dir.write("log.txt", "text")).incident),
              "|0x0|||||0|0|0x0|1970-01-01 00:00:00.000|-");
}

TEST(Read, Kinds) {
    const struct {
        const char* name;
        const char* text;
        const char* expected;
    } kRows[] = {
            {"android-2026-11-21-08-33-31-700.txt", "", "main 1"},
            {"sub/android-2026-11-21-08-33-51-700.txt", "", "main 1"},
            {"android-2026-11-21-08-33-41-700.txt", "", "main 2"},
            {"kernel-2026-11-21-08-33-31-700.txt", "", "kernel 1"},
            {"events-2026-11-21-08-33-31-700.txt", "", "events 1"},
            {"radio-2026-11-21-08-33-31-700.txt", "", "radio 1"},
            {"dumpsys_activity_top-2026-11-21-08-33-31-700.txt", "", "dumpsys 1"},
            {"power-2026-11-21-08-33-31-700.txt", "", "dumpsys 1"},
            {"meminfo-2026-11-21-08-33-31-700.txt", "", "meminfo 1"},
            {"proc_meminfo-2026-11-21-08-33-31-700.txt", "", "proc-meminfo 1"},
            {"cpuinfo-2026-11-21-08-33-31-700.txt", "", "cpuinfo 1"},
            {"top-2026-11-21-08-33-31-700.txt", "", "top 1"},
            {"thread_list-2026-11-21-08-33-31-700.txt", "", "thread-list 1"},
            {"binderinfo-2026-11-21-08-33-31-700.txt", "", "binder 1"},
            {"surfaceflinger_backtrace-2026-11-21-08-33-31-700.txt", "", "native-backtrace 1"},
            {"getprop-2026-11-21-08-33-31-700.txt", "", "other 1"},
            {"tombstone_log", "01-02 00:00:00.0  1  2 I t: m\n", "main 0"},
            {"android-today.txt", "", "other 0"},
            {"tombstone_03", "", "tombstone 0"},
            {"crash", "*** *** *** *** ***\n", "tombstone 0"},
            {"kavel_DumpTraces_12_x", "", "anr-trace 0"},
            {"traces", "----- pid 1 at x -----\n\"main\" prio=5 tid=1 Native\n", "anr-trace 0"},
            {"bt", "----- pid 1 at x -----\n\"main\" sysTid=1\n", "native-backtrace 0"},
            {"log", "--------- beginning of x\n01-02 00:00:00.0  1  2 I t: m\n", "main 0"},
            {"log", "01-02 00:00:00.0  1  2 I am_anr  : [0,12]\n", "events 0"},
            {"log", "<6>[   12.5] binder: text\n", "kernel 0"},
    };
    const TempDir dir;
    std::vector<std::pair<std::string, std::string>> files;
    for (const auto& row : kRows) files.emplace_back(row.name, row.text);
    const Evidence evidence = readEvidence(dir.write("it", tarBytes(kFolder, files)));
    ASSERT_EQ(evidence.files.size(), std::size(kRows));
    for (size_t i = 0; i < std::size(kRows); ++i) {
        const EvidenceFile& file = evidence.files[i];
        EXPECT_EQ(fmt::format("{} {}", kindName(file.kind), file.round), kRows[i].expected)
                << kRows[i].name << kRows[i].text;
    }
    EXPECT_EQ(timeText(evidence.files[0].collectedUtcNs, 0), "2026-11-21 07:33:31.700");
}

}  // namespace
}  // namespace kaveldesk
