#include "handler/LogFolder.h"

#include <string>
#include <vector>

#include <android-base/properties.h>
#include <gtest/gtest.h>

#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeShell.h"
#include "tests/handler/TestEvent.h"

namespace android::kavel {
namespace {

using fake::event;

const std::string kRoot = "/data/persist_log/kavel30/";
const std::string kTail = "@831be687eb45bbc0@PX_11@2024-03-07-09-05-02-007";

class LogFolder : public testing::Test {
  protected:
    void SetUp() override {
        setenv("TZ", "UTC0", 1);
        fake::captureLog();
        fake::clearLog();
        fake::resetShell();
        base::SetProperty("ro.build.version.ota", "PX_11");
    }
    void TearDown() override { base::SetProperty("ro.build.version.ota", ""); }

    std::string folder(long eventId, const std::string& name, const std::string& process) {
        EventParameters parameters;
        parameters.setEventIdMap(0, eventId, name);
        return buildLogPathFolderName(parameters, event(eventId, 0, process).get());
    }
};

// Would catch a name that the tools which read the archives cannot take apart.
TEST_F(LogFolder, Name) {
    struct {
        long eventId;
        const char* name;
        const char* process;
        const char* expected;
    } const rows[] = {
            {0x3, "anr", "com.example.app", "kavel_anr_com.example.app"},
            {0x101, "nofocus", "", "kavel_nofocus_empty"},
            {0x204, "x", "com.a", "kavel_x_system"},
            {0xF03, "", "", "kavel__system"},
            {0x10000001, "rec", "com.a", "kavel_rec_system"},
            {0x1, "a/b", "../../etc", "kavel_a_b_.._.._etc"},
            {0x1, "a\nb\x7f", "\x01/\t", "kavel_a_b_____"},
            {0x1, "an r", "it's $(x)", "kavel_an r_it's $(x)"},
            {0x1, "\xc3\xa4", "\xe4\xb8\xad", "kavel_\xc3\xa4_\xe4\xb8\xad"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(folder(row.eventId, row.name, row.process), kRoot + row.expected + kTail);
    }
    for (const long eventId :
         {0x1, 0x2, 0x3, 0x4, 0x5, 0x101, 0x103, 0x106, 0x601, 0x602, 0x701, 0x702}) {
        EXPECT_EQ(folder(eventId, "n", "p"), kRoot + "kavel_n_p" + kTail) << eventId;
    }
    EventParameters parameters;
    EXPECT_EQ(buildLogPathFolderName(parameters, nullptr), "KavelEventIsNullPtr");
    base::SetProperty("ro.build.version.ota", "");
    EXPECT_EQ(folder(0xF01, "n", ""),
              kRoot + "kavel_n_system@831be687eb45bbc0@@2024-03-07-09-05-02-007");
}

// Would catch a name that no file system takes, or one that is cut inside a character.
TEST_F(LogFolder, OverlongPartsAreCut) {
    std::string wide;
    for (int i = 0; i < 200; ++i) wide += "\xe4\xb8\xad";
    const std::string cut[][3] = {
            {"anr", std::string(400, 'p'), "kavel_anr_" + std::string(191, 'p')},
            {"anr", wide, "kavel_anr_" + wide.substr(0, 189)},
            {std::string(400, 'n'), "p", "kavel_" + std::string(194, 'n') + "_"},
    };
    for (const auto& [name, process, expected] : cut) {
        EXPECT_EQ(folder(0x3, name, process), kRoot + expected + kTail);
    }
}

// Would catch a command that the name can break out of, a missing one, or the OTA text in the log.
TEST_F(LogFolder, DirectoriesAreMade) {
    struct {
        const char* process;
        std::string command;
    } const rows[] = {
            {"com.a", "mkdir " + kRoot + "kavel_anr_com.a" + kTail + "\n"},
            {"a b", "mkdir '" + kRoot + "kavel_anr_a b" + kTail + "'\n"},
            {"a;touch /x;b", "mkdir '" + kRoot + "kavel_anr_a;touch _x;b" + kTail + "'\n"},
            {"'$(id)'", "mkdir '" + kRoot + "kavel_anr_'\\''$(id)'\\''" + kTail + "'\n"},
    };
    for (const auto& row : rows) {
        fake::resetShell([](const std::string&) { return 256; });  // a failure changes nothing
        folder(0x3, "anr", row.process);
        const std::vector<std::string> expected = {"mkdir /data/persist_log/kavel30\n",
                                                   row.command};
        EXPECT_EQ(fake::commands(), expected);
    }
    EXPECT_EQ(fake::logCount(
                      "[dravo_kavel buildLogPathFolderName]: mkdir /data/persist_log/kavel30\n"),
              std::size(rows));
    EXPECT_EQ(fake::logCount("kavel_anr_com.a@831be687eb45bbc0@*@2024-03-07-09-05-02-007\n"), 1u);
    EXPECT_EQ(fake::logCount("PX_11"), 0u);
}

}  // namespace
}  // namespace android::kavel
