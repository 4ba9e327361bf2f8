#include "tools/ArchiveName.h"

#include <gtest/gtest.h>

#include <sstream>

#include "dump/LogFolderName.h"
#include "tests/fake/Script.h"

namespace android::kavel::tools {
namespace {

constexpr const char* kTime = "2024-03-07-09-05-02-007";

std::string follow(const test::ScriptLine& line) {
    std::ostringstream text;
    if (line.verb() == "name") {
        if (const auto name = parseArchiveName(line.word(1))) {
            text << '[' << name->subject << "] [" << name->otaVersion << "] " << name->folderId
                 << ' ' << readableTime(*name, ' ');
            if (name->sequence != 1) text << " no. " << name->sequence;
        }
    } else if (line.verb() == "history") {
        for (const HistoryLine& each : parseHistory(line.word(1))) {
            text << '[' << each.eventName << "] [" << each.time << "] 0x" << std::hex
                 << each.logInfo << ' ' << std::dec << each.recordId << '\n';
        }
    } else {
        const LogName name{"", line.word(1), "831be687eb45bbc0", "", kTime};
        const Subject subject = splitSubject(name, {{line.word(2), line.word(3), 1, 2}});
        text << '[' << subject.event << "] [" << subject.process << ']';
    }
    return text.str();
}

// Catches parts cut in the wrong place, foreign files taken for archives, lines that are misread
// where the event's name holds their separators, and a line of another event being believed.
TEST(ArchiveName, IsReadAsTheGoldenFileSays) {
    test::expectScript(KAVEL_GOLDEN_DIR "/names.txt", follow);
}

// Catches the daemon's naming rule and this reader drifting apart, also for a name that is cut.
TEST(ArchiveName, ReadsBackTheDaemonsOwnNames) {
    for (const std::string& process : {std::string("com.a/b"), std::string(400, 'p')}) {
        const std::string folder =
                logFolderName({"e_1", process, 1709802302007000000, "V1", kTime});
        const auto name = parseArchiveName(archiveName(folder, kMaxArchiveSequence));
        ASSERT_TRUE(name.has_value());
        EXPECT_EQ(splitSubject(*name, {{"e_1", kTime, 0, 0}}).event, "e_1");
        EXPECT_EQ(name->folder, folder);
        EXPECT_EQ(name->sequence, kMaxArchiveSequence);
    }
}

}  // namespace
}  // namespace android::kavel::tools
