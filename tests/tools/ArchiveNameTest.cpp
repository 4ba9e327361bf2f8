#include "tools/ArchiveName.h"

#include <gtest/gtest.h>

#include "dump/LogFolderName.h"

namespace android::kavel::tools {
namespace {

constexpr const char* kTime = "2024-03-07-09-05-02-007";
constexpr const char* kTail = "@831be687eb45bbc0@OTA.1@2024-03-07-09-05-02-007.tar.gz";

// Catches parts cut in the wrong place, and foreign files taken for archives.
TEST(ArchiveName, ParsesWhatTheDaemonNames) {
    struct Case {
        std::string fileName;
        const char* subject;  ///< null: no archive's name
        const char* ota;
    };
    const Case cases[] = {
            {std::string("kavel_anr_com.example") + kTail, "anr_com.example", "OTA.1"},
            {std::string("kavel__system") + kTail, "_system", "OTA.1"},
            {std::string("kavel_a_power@1.0-service") + kTail, "a_power@1.0-service", "OTA.1"},
            {std::string("kavel_a_x@12@y") + kTail, "a_x@12@y", "OTA.1"},
            {"kavel_a_b@831be687eb45bbc0@@2024-03-07-09-05-02-007.tar.gz", "a_b", ""},
            {"kavel_a_b@831be687eb45bbc0@V@beef@2024-03-07-09-05-02-007.tar.gz", "a_b", "V@beef"},
            {"kavel_a_b@831be687eb45bbc0@V@2024-03-07-09-05-02-007.tar", nullptr, ""},
            {"kavel_a_b@831be687eb45bbc0@V@2024-03-07-09-05-02-07.tar.gz", nullptr, ""},
            {"kavel_a_b@xyz@V@2024-03-07-09-05-02-007.tar.gz", nullptr, ""},
            {"kavel_nosubject@831be687eb45bbc0@V.tar.gz", nullptr, ""},
            {"dravo-trace-1.gz", nullptr, ""},
            {".tar.gz", nullptr, ""},
            {"", nullptr, ""},
    };
    for (const Case& each : cases) {
        const auto name = parseArchiveName(each.fileName);
        ASSERT_EQ(name.has_value(), each.subject != nullptr) << each.fileName;
        if (!name) continue;
        EXPECT_EQ(name->subject, each.subject);
        EXPECT_EQ(name->ota, each.ota);
        EXPECT_EQ(name->folderId, "831be687eb45bbc0");
        EXPECT_EQ(name->readableTime(' '), "2024-03-07 09:05:02.007");
    }
}

// Catches a line that is misread where the event's name holds the line's own separators.
TEST(ArchiveName, ReadsHistoryLines) {
    const auto lines = parseHistory(
            "EventType:anr,Timestamp:2024-03-07-09-05-02-007,loginfo:103b,eventID:77\n"
            "noise\n"
            "EventType:a,eventID:1,Timestamp:x,b,Timestamp:T,loginfo:80000000,eventID:2147483647\n"
            "EventType:,Timestamp:,loginfo:0,eventID:0");
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0].eventName, "anr");
    EXPECT_EQ(lines[0].time, kTime);
    EXPECT_EQ(lines[0].logInfo, 0x103BU);
    EXPECT_EQ(lines[0].recordId, 77);
    EXPECT_EQ(lines[1].eventName, "a,eventID:1,Timestamp:x,b");
    EXPECT_EQ(lines[1].logInfo, 0x80000000U);
    EXPECT_EQ(lines[2].eventName, "");
    for (const char* bad :
         {"EventType:a,Timestamp:T,loginfo:g,eventID:1", "EventType:a",
          "EventType:a,Timestamp:T,loginfo:1ffffffff,eventID:1",
          "Type:a,Timestamp:T,loginfo:1,eventID:1", "EventType:a,Timestamp:T,loginfo:1,eventID:"}) {
        EXPECT_FALSE(parseHistoryLine(bad).has_value()) << bad;
    }
}

// Catches "_" in names parting them in the wrong place, and a line of another event being believed.
TEST(ArchiveName, HistoryDecidesWhereTheSubjectParts) {
    struct Case {
        const char* subject;
        const char* historyName;
        const char* historyTime;
        const char* event;
        const char* process;
    };
    const Case cases[] = {
            {"ui_anr_com.a_b", "ui_anr", kTime, "ui_anr", "com.a_b"},
            {"ui_anr_com.a_b", "ui_anr", "2020-01-01-00-00-00-000", "ui", "anr_com.a_b"},
            {"ui_anr_com.a_b", "other", kTime, "ui", "anr_com.a_b"},
            {"a_b_system", "a/b", kTime, "a_b", "system"},
            {"_system", "", kTime, "", "system"},
            {"__x_system", "_", kTime, "_", "x_system"},
    };
    for (const Case& each : cases) {
        const ArchiveName name{each.subject, "831be687eb45bbc0", "", kTime};
        const Subject subject = splitSubject(name, {{each.historyName, each.historyTime, 1, 2}});
        EXPECT_EQ(subject.event, each.event) << each.subject;
        EXPECT_EQ(subject.process, each.process) << each.subject;
    }
}

// Catches the daemon's naming rule and this reader drifting apart, also for a name that is cut.
TEST(ArchiveName, ReadsBackTheDaemonsOwnNames) {
    for (const std::string& process : {std::string("com.a/b"), std::string(400, 'p')}) {
        const std::string folder =
                logFolderName({"e_1", process, 1709802302007000000, "V1", kTime});
        const auto name = parseArchiveName(folder + kArchiveSuffix);
        ASSERT_TRUE(name.has_value());
        EXPECT_EQ(splitSubject(*name, {{"e_1", kTime, 0, 0}}).event, "e_1");
        EXPECT_EQ(name->folderId, "831be687eb45bbc0");
    }
}

}  // namespace
}  // namespace android::kavel::tools
