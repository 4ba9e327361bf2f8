// Would catch a value that is missing from one of the two forms, is under another key or in another
// unit; a text that breaks the JSON or moves the terminal's cursor; a reader who does not read, or
// leaves, and takes the daemon's thread, or the daemon, with it.

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <android-base/unique_fd.h>

#include "core/DaemonStatus.h"
#include "core/DumpWriter.h"
#include "core/KernelChannel.h"
#include "dig/DigStatus.h"
#include "tests/fake/TempDir.h"

namespace android::kavel {
namespace {

constexpr int64_t kTime = 1'709'802'302'007'000'000;  // 2024-03-07 09:05:02.007 UTC

EventRef makeEvent() {
    KavelTimestamp arrival = {};
    arrival.realtimeNs = kTime - 5'000'000'000;
    const KavelExtraInfo extra = {"com.\"a\"\x1b[2J", "", ""};
    const auto event = std::make_shared<KavelEvent>(0x101, &arrival, -1, 77, 1000, &extra);
    event->kavelEventId = 4711;
    event->collected = 0x21;
    return event;
}

ReportEntry entry(Fate fate, const std::string& process, const std::string& detail) {
    ReportEntry entry;
    entry.timeNs = kTime;
    entry.eventId = -2;
    entry.fate = fate;
    entry.count = 3;
    entry.process = process;
    entry.detail = detail;
    return entry;
}

/** A daemon with something in each part. */
DaemonStatus makeStatus() {
    using std::chrono::milliseconds;
    DaemonStatus status;
    status.timeNs = kTime;
    status.pid = 123;
    status.uptime = std::chrono::seconds(3661);
    status.build.isReleaseVersion = true;
    status.build.userPanicForDebug = "true";
    status.build.systemVersion = KAVEL_SYSTEM_VERSION_FORMAL;
    HandlerStatus handler;
    handler.eventTypes = {{0x101, "anr", true, 10000, 5, 0}, {0x10000001, "", false, 0, 0, 2}};
    handler.events = {makeEvent()};
    CatchStatus running;
    running.event = makeEvent();
    running.phase = CatchPhase::Window;
    running.age = milliseconds(2500);
    running.left = milliseconds(7500);
    running.missingBits = 0x8;
    running.folder = "/staging/folder";
    handler.catches = {running};
    handler.catchCount = 33;
    handler.isWindowOpen = true;
    handler.pools = {{"pool", 5, 1, 7, 6, 10}};
    status.handler = handler;
    status.monitor = MonitorStatus{false, {{5, ""}}, {{6, "kind"}}, {}, 1};
    status.journal.frameworkReports = 12;
    for (size_t i = 0; i < kFateCount; ++i) status.journal.counts[i] = 200 + i;
    status.journal.archives = 2;
    status.journal.archiveBytes = uint64_t{1} << 40;
    status.journal.failures = {entry(Fate::DiskFull, "\u7a7a\u202e\u202c", "tar status 1")};
    status.journal.recent = {entry(Fate::Disabled, "\xff\n", "")};
    status.commands.run = 9;
    status.commands.late = 1;
    status.commands.running = {{"logcat", milliseconds(60000), 0}};
    status.commands.slowest = {{"tar", milliseconds(180000), 15}, {"mv", milliseconds(3), 256}};
    return status;
}

TEST(Status, Golden) {
    setenv("TZ", "IST-5:30", 1);
    tzset();
    uint64_t next = 100;
    KernelChannel& channel = kernelChannel();
    for (auto* count :
         {&channel.packets, &channel.malformed, &channel.foreign, &channel.receiveFailures,
          &digStatus().records, &digStatus().corrupt, &digStatus().freezes}) {
        *count = next++;
    }
    digStatus().state = SocketState::Connected;
    const StatusNode tree = describe(makeStatus());
    const std::string both = statusText(tree) + statusJson(tree);
    const std::string path = std::string(KAVEL_GOLDEN_DIR) + "/status.txt";
    if (getenv("KAVEL_WRITE_GOLDEN") != nullptr) std::ofstream(path) << both;
    EXPECT_EQ(both, test::contentOf(path));
}

TEST(Status, ListsAreBounded) {
    DaemonStatus status;
    status.handler = HandlerStatus();
    status.handler->eventTypes.resize(100'000);
    EXPECT_LT(statusJson(describe(status)).size(), 20'000U);
}

class DumpWriter : public testing::Test {
  protected:
    /** A pipe, or a pair of sockets: who reads, who writes. */
    void open(bool isPipe) {
        int ends[2] = {-1, -1};
        ASSERT_EQ(isPipe ? pipe2(ends, O_CLOEXEC)
                         : socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends),
                  0);
        mReader.reset(ends[0]);
        mWriter.reset(ends[1]);
    }

    base::unique_fd mReader;
    base::unique_fd mWriter;
    const std::string mText = std::string(500'000, 'x') + "end";
};

TEST_F(DumpWriter, AReaderGetsAllAndOthersHoldNobody) {
    using std::chrono::milliseconds;
    for (const bool isPipe : {true, false}) {
        open(isPipe);
        std::string got;
        std::thread reader([&] {
            char part[777];
            while (const ssize_t count = read(mReader.get(), part, sizeof(part))) {
                if (count < 0) break;
                got.append(part, static_cast<size_t>(count));
            }
        });
        EXPECT_EQ(writeWithin(mWriter.get(), mText, std::chrono::minutes(1)), NO_ERROR);
        mWriter.reset();
        reader.join();
        EXPECT_TRUE(got == mText);

        open(isPipe);
        EXPECT_EQ(writeWithin(mWriter.get(), "end", milliseconds(0)), NO_ERROR) << "stopped before";

        open(isPipe);  // nobody reads
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(writeWithin(mWriter.get(), mText, milliseconds(50)), TIMED_OUT);
        EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(50));

        open(isPipe);
        mReader.reset();
        signal(SIGPIPE, SIG_DFL);  // would end this process
        EXPECT_EQ(writeWithin(mWriter.get(), mText, std::chrono::minutes(1)), -EPIPE);
    }
    const base::unique_fd terminal(posix_openpt(O_RDWR | O_CLOEXEC));
    EXPECT_EQ(writeWithin(terminal.get(), mText, milliseconds(50)), BAD_TYPE);
}

}  // namespace
}  // namespace android::kavel
