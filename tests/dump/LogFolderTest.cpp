#include "dump/LogFolder.h"

#include <chrono>
#include <csignal>
#include <thread>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "dump/EventLine.h"
#include "tests/fake/TempDir.h"

namespace android::kavel {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// Would catch a pack that does not wait for a command, that waits for ever, or that a command
// joins.
TEST(LogFolder, WorkIsWaitedForAndEndsWithItsLastCopy) {
    const auto folder = std::make_shared<LogFolder>("/nowhere");
    LogFolder::Work slow = folder->beginWork("slow-");
    LogFolder::Work hung = folder->beginWork("hung-");
    LogFolder::Work copy = hung;
    hung = nullptr;
    EXPECT_EQ(folder->openWork(), (std::vector<std::string>{"slow-", "hung-"}));
    std::thread command([&] { slow = copy = nullptr; });
    const auto left = folder->close(seconds(60));
    command.join();
    ASSERT_TRUE(left);
    EXPECT_GT(*left, seconds(30)) << "the wait ends with the work";
    EXPECT_TRUE(folder->openWork().empty());
    EXPECT_EQ(folder->beginWork("late-"), nullptr);
    EXPECT_FALSE(folder->close());

    const auto stuck = std::make_shared<LogFolder>("/nowhere");
    const LogFolder::Work held = stuck->beginWork("hung-");
    EXPECT_EQ(stuck->close(milliseconds(10)), milliseconds(0));
    EXPECT_TRUE(stuck->isClosed());
}

// Would catch a root or an empty path in a command, and a folder that counts as full because of
// what
// `*` does not match.
TEST(LogFolder, OnlyAnOpenDirectoryWithContentCanBePacked) {
    const test::TempDir top;
    EXPECT_FALSE(LogFolder("").isOpen());
    EXPECT_FALSE(LogFolder("//").isOpen());
    EXPECT_FALSE(LogFolder("//").hasContent());
    EXPECT_FALSE(LogFolder(top / "gone").isOpen());
    EXPECT_FALSE(LogFolder(top / "gone").hasContent());
    LogFolder folder(top / "");
    EXPECT_TRUE(folder.isOpen());
    test::makeFile(top / ".hidden", 0);
    EXPECT_FALSE(folder.hasContent());
    test::makeFile(top / "log", 0);
    EXPECT_TRUE(folder.hasContent());
    rlimit before = {};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none = {0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    const bool hasContent = LogFolder(top / "").hasContent();
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_TRUE(hasContent) << "it cannot be read";
    folder.close();
    EXPECT_FALSE(folder.isOpen());
}

// Would catch an event that replaces another one's line, and a part of a line after a failure.
TEST(LogFolder, EventsFileHasEveryLineOrNone) {
    const test::TempDir top;
    LogFolder folder(top / "");
    EXPECT_TRUE(folder.addEventLine("one\n"));
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    const rlimit full = {6, before.rlim_max};  // as on a full disk: a part is written
    setrlimit(RLIMIT_FSIZE, &full);
    const bool isWritten = folder.addEventLine("lost\n");
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, handler);
    EXPECT_FALSE(isWritten);
    EXPECT_TRUE(folder.addEventLine("two\n"));
    EXPECT_EQ(test::contentOf(top / kEventsFile), "one\ntwo\n");
}

// Would catch a wrong field, a text that ends the line or the object, and a local time without its
// offset.
TEST(EventLine, IsOneJsonObject) {
    KavelTimestamp time = {};
    time.tm_year = 124;
    time.tm_mday = 1;
    time.tm_hour = 1;
    time.tm_gmtoff = 7200;
    time.millisecond = 7;
    const KavelExtraInfo extra = {"a\"b\\c\n\x7f", "1 \xe2\x82\xac",
                                  "\xe2\x82|\xff|\xc0\x80|\xed\xa0\x80"};
    KavelEvent event(-1, &time, -2, 3, 4, &extra);
    event.kavelEventId = 5;
    EXPECT_EQ(eventLine(event, "anr"),
              "{\"utc\":\"2023-12-31T23:00:00.007Z\",\"local\":\"2024-01-01T01:00:00.007+02:00\","
              "\"recordId\":5,\"eventId\":\"0xffffffffffffffff\",\"name\":\"anr\",\"pid\":3,"
              "\"uid\":4,\"process\":\"a\\\"b\\\\c\\u000a\\u007f\",\"version\":\"1 \xe2\x82\xac\","
              "\"type\":\"\\ufffd\\ufffd|\\ufffd|\\ufffd\\ufffd|\\ufffd\\ufffd\\ufffd\",\"mask\":"
              "\"0xfffffffe\"}\n");
    time.tm_gmtoff = -12600;
    EXPECT_NE(eventLine(KavelEvent(1, &time, 0, 0, 0, &extra), "").find("01:00:00.007-03:30\""),
              std::string::npos);
}

}  // namespace
}  // namespace android::kavel
