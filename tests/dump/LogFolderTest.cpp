// Would catch a pack that does not wait for a command, that waits for ever, or that a command
// joins; a root or an empty path in a command; a folder that counts as full because of what `*`
// does not match; an event that replaces another one's line, and a part of a line after a failure;
// a wrong field, a text that ends the line or the object, a local time without its offset; a file
// that is nearer than the nearest one.

#include "dump/LogFolder.h"

#include <chrono>
#include <csignal>
#include <thread>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "dump/EventLine.h"
#include "dump/NearestFile.h"
#include "tests/fake/TempDir.h"

namespace android::kavel {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

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

TEST(EventLine, IsOneJsonObject) {
    KavelTimestamp time = {};
    time.tm_year = 124;
    time.tm_mday = 1;
    time.tm_hour = 1;
    time.tm_gmtoff = 7200;
    time.millisecond = 7;
    const KavelExtraInfo extra = {
            "a\"b\\c\n\x7f\x1f ", "1 \xe2\x82\xac\xc2\x80\xf0\x90\x80\x80\xf4",
            "\xe2\x82|\xff|\xc0\x80|\x80|\xc1\x80|\xf5\x80\x80\x80|\xed\xa0\x80"};
    KavelEvent event(-1, &time, -2, 3, 4, &extra);
    event.kavelEventId = 5;
    EXPECT_EQ(eventLine(event, "anr"),
              "{\"utc\":\"2023-12-31T23:00:00.007Z\",\"local\":\"2024-01-01T01:00:00.007+02:00\","
              "\"recordId\":5,\"eventId\":\"0xffffffffffffffff\",\"name\":\"anr\",\"pid\":3,"
              "\"uid\":4,\"process\":\"a\\\"b\\\\c\\u000a\\u007f\\u001f \","
              "\"version\":\"1 \xe2\x82\xac\xc2\x80\xf0\x90\x80\x80\\ufffd\","
              "\"type\":\"\\ufffd\\ufffd|\\ufffd|\\ufffd\\ufffd|\\ufffd|\\ufffd\\ufffd|"
              "\\ufffd\\ufffd\\ufffd\\ufffd|\\ufffd\\ufffd\\ufffd\",\"mask\":\"0xfffffffe\"}\n");
    time.tm_gmtoff = -12600;
    const std::string line = eventLine(KavelEvent(1, &time, 0, 0, 0, &extra), "", {"a", "b\""});
    EXPECT_NE(line.find("01:00:00.007-03:30\""), std::string::npos);
    EXPECT_NE(line.find(",\"related\":[\"a\",\"b\\\"\"]}\n"), std::string::npos);
}

// On a tie the earlier file stays; without a time of the event the epoch is nearer than any file.
TEST(NearestFile, IsTheOneAtTheOffset) {
    const struct {
        int64_t target;
        int64_t offset;
        std::vector<int64_t> files;
        int nearest;
    } kCases[] = {
            {1'000, 10, {}, -1},
            {1'000, 10, {90'000}, -1},
            {50'000, 10, {90'000}, 0},
            {1'000, 10, {1'009, 1'012}, 0},
            {1'000, 2, {1'009, 1'012}, 0},
            {1'000, 2, {1'012, 1'009}, 1},
            {1'000, 10, {1'011, 1'009}, 0},
            {1'000, 10, {995, 1'000, 1'040, 1'010}, 3},
            {1'000, 2, {900, 997}, 1},
            {0, 10, {1'000}, -1},
    };
    for (const auto& [target, offset, times, nearest] : kCases) {
        std::vector<TraceFile> files;
        for (const int64_t time : times) files.push_back({"f", time});
        EXPECT_EQ(nearestFile(files, target, offset), nearest) << target << " " << offset;
    }
}

}  // namespace
}  // namespace android::kavel
