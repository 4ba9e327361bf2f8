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

const std::string kRoot = "/data/persist_log/kavel30/";
const std::string kTail = "@831be687eb45bbc0@PX_11@2024-03-07-09-05-02-007";

// Would catch a process named where the event has none, or left out where it has; a missing
// command; a failed one that changes the name; the OTA text in the log.
TEST(LogFolder, NameAndDirectories) {
    setenv("TZ", "UTC0", 1);
    fake::captureLog();
    fake::clearLog();
    fake::resetShell([](const std::string&) { return 256; });
    base::SetProperty("ro.build.version.ota", "PX_11");
    const struct {
        std::vector<long> eventIds;
        const char* process;
        const char* named;
    } rows[] = {
            {{0x1, 0x2, 0x3, 0x4, 0x5, 0x101, 0x103, 0x106, 0x601, 0x602, 0x701, 0x702}, "p", "p"},
            {{0x101}, "", "empty"},
            {{0x102, 0x204, 0xF03, 0x10000001}, "p", "system"},
    };
    EventParameters parameters;
    std::vector<std::string> commands;
    for (const auto& row : rows) {
        for (const long eventId : row.eventIds) {
            parameters.setEventIdMap(0, eventId, "n");
            const std::string folder = kRoot + "kavel_n_" + row.named + kTail;
            const auto event = fake::event(eventId, 0, row.process);
            EXPECT_EQ(buildLogPathFolderName(parameters, event.get()), folder) << eventId;
            commands.insert(commands.end(),
                            {"mkdir /data/persist_log/kavel30\n", "mkdir " + folder + "\n"});
        }
    }
    EXPECT_EQ(fake::commands(), commands);
    EXPECT_EQ(fake::logCount("[dravo_kavel buildLogPathFolderName]: mkdir "), commands.size());
    EXPECT_EQ(fake::logCount("PX_11"), 0u);
    EXPECT_EQ(buildLogPathFolderName(parameters, nullptr), "KavelEventIsNullPtr");
    base::SetProperty("ro.build.version.ota", "");
}

}  // namespace
}  // namespace android::kavel
