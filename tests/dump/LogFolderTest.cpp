// Would catch a pack that does not wait for a command, that waits for ever, or that a command
// joins; a root or an empty path in a command; a folder that counts as full because of what `*`
// does not match; an event that replaces another one's line, and a part of a line after a failure.
// Names that other tools no longer find, and parts that leave the folder or split a line; an
// archive that takes the name of another one; a catch that is lost because its archive's name is
// too long, and half a character; a start-up that packs, and removes, folders that are not the
// daemon's.

#include "dump/LogFolder.h"

#include <chrono>
#include <climits>
#include <csignal>
#include <cstring>
#include <thread>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "dump/EventLine.h"
#include "dump/LogFolderName.h"
#include "tests/fake/TempDir.h"

namespace android::kavel {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

/** Calls @p function while the limit is set. */
template <class Function>
bool limited(int resource, rlim_t limit, const Function& function) {
    rlimit before = {};
    getrlimit(resource, &before);
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    const rlimit low = {limit, before.rlim_max};
    setrlimit(resource, &low);
    const bool result = function();
    setrlimit(resource, &before);
    signal(SIGXFSZ, handler);
    return result;
}

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
    for (const std::string& path : {std::string(), std::string("//"), top / "gone"}) {
        EXPECT_FALSE(LogFolder(path).isOpen() || LogFolder(path).hasContent()) << path;
    }
    LogFolder folder(top / "");
    EXPECT_TRUE(folder.isOpen());
    test::makeFile(top / ".hidden", 0);
    EXPECT_FALSE(folder.hasContent());
    test::makeFile(top / "log", 0);
    EXPECT_TRUE(folder.hasContent());
    EXPECT_TRUE(limited(RLIMIT_NOFILE, 0, [&] { return LogFolder(top / "").hasContent(); }))
            << "it cannot be read";
    folder.close();
    EXPECT_FALSE(folder.isOpen());
}

TEST(LogFolder, EventsFileHasEveryLineOrNone) {
    const test::TempDir top;
    LogFolder folder(top / "");
    EXPECT_TRUE(folder.addEventLine("one\n"));
    // As on a full disk: a part is written.
    EXPECT_FALSE(limited(RLIMIT_FSIZE, 6, [&] { return folder.addEventLine("lost\n"); }));
    EXPECT_TRUE(folder.addEventLine("two\n"));
    EXPECT_EQ(test::contentOf(top / kEventsFile), "one\ntwo\n");
}

constexpr int64_t kTime = 1'709'802'302'007'000'000;
const std::string kTail = "@831be687eb45bbc0@V1.2@2024-03-07-09-05-02-007";

std::string nameOf(const std::string& event, const std::string& process,
                   const std::string& ota = "V1.2") {
    return logFolderName({event, process, kTime, ota, "2024-03-07-09-05-02-007"});
}

TEST(LogFolderName, IsMadeOfItsParts) {
    EXPECT_EQ(nameOf("anr", "com.example.app"), "kavel_anr_com.example.app" + kTail);
    EXPECT_EQ(nameOf("", "system", ""), "kavel__system@831be687eb45bbc0@@2024-03-07-09-05-02-007");
    EXPECT_EQ(nameOf("../a", "b/\n\x7f/c\x01"), "kavel_.._a_b____c_" + kTail);
    EXPECT_EQ(nameOf("e", "p", "1/2\n"), "kavel_e_p@831be687eb45bbc0@1_2_@2024-03-07-09-05-02-007");
    EXPECT_EQ(logFolderName({"e", "p", -1, "", "T"}), "kavel_e_p@6b6176656bffffff@@T");
}

TEST(LogFolderName, FurtherArchivesOfAFolderAreNumbered) {
    EXPECT_EQ(archiveName("kavel_e_p" + kTail, 1), "kavel_e_p" + kTail + ".tar.gz");
    EXPECT_EQ(archiveName("kavel_e_p" + kTail, 12), "kavel_e_p" + kTail + ".12.tar.gz");
    for (const uint32_t sequence : {1U, 12U, kMaxArchiveSequence}) {
        const auto name = parseArchiveName(archiveName("kavel_e_p" + kTail, sequence));
        ASSERT_TRUE(name.has_value());
        EXPECT_EQ(name->sequence, sequence);
        EXPECT_EQ(name->folder, "kavel_e_p" + kTail);
    }
}

TEST(LogFolderName, OverlongPartsAreCutToWhatAnArchiveNameCanHold) {
    const std::string accents = "\xC3\xA9\xC3\xA9\xC3\xA9";
    std::string manyAccents;
    while (manyAccents.size() < 300) manyAccents += accents;
    for (size_t extra = 0; extra < 4; ++extra) {
        const std::string event = std::string(extra, 'e');
        const std::string name = nameOf(event, manyAccents);
        const size_t length = archiveName(name, kMaxArchiveSequence).size();
        EXPECT_TRUE(length == NAME_MAX || length == NAME_MAX - 1) << length;
        const size_t process = name.find('@') - strlen("kavel_") - extra - 1;
        EXPECT_EQ(process % 2, 0U) << "a character was split";
        EXPECT_EQ(name.substr(name.find('@')), kTail);
    }
    const std::string all = std::string(500, 'x');
    for (const std::string& name : {nameOf(all, all), nameOf(all, all, all)}) {
        EXPECT_EQ(archiveName(name, kMaxArchiveSequence).size(), size_t{NAME_MAX});
        EXPECT_TRUE(isLogFolderName(name));
    }
    std::string longest = "kavel_e_p" + kTail;
    longest.insert(8, NAME_MAX - longest.size(), 'p');
    EXPECT_TRUE(isLogFolderName(longest));
    EXPECT_FALSE(isLogFolderName("kavel_e_p" + longest.substr(8)));
}

TEST(LogFolderName, OursAreToldFromOthers) {
    const std::string good = "kavel_anr_p" + kTail;
    EXPECT_TRUE(isLogFolderName(good));
    EXPECT_TRUE(isLogFolderName(nameOf("a@b_c", "d@e@f", "")));
    std::string repeated = "kavel_" + std::string(80, '_');
    for (int i = 0; i < 50; ++i) repeated += "@a@";
    std::vector<std::string> foreign = {"kavel_" + std::string(300, 'a') + "_p" + kTail, "",
                                        "kavel_a_b@831be687eb45bbc0@V", repeated + "x",
                                        good.substr(0, good.size() - 1)};
    for (const char* end : {".2", ".tar.gz", "0"}) foreign.push_back(good + end);
    for (const char* begin : {"", "kavel_anr", "kavel_a_\n", "xkavel_anr_p"}) {
        foreign.push_back(begin + kTail);
    }
    for (const char* front :
         {"wxlog", "kavel_", "kavel_a_b@1@@", "kavel_@831be687eb45bbc0@V",
          "kavel_a_b@831be687eb45bbc0", "kavel_a_p@@V", "kavel_a_p@831BE687EB45BBC0@V",
          "kavel_a_p@831be687eb45bbc01@V", "kavel_a_p@831be687eb45bbcg@V"}) {
        foreign.push_back(front + std::string("@2024-03-07-09-05-02-007"));
    }
    for (const char* time : {"-03-07-09-05-02-007", "2024-03-07-09-05-02-00x",
                             "2024-03-07-09:05-02-007", "x024-03-07-09-05-02-007"}) {
        foreign.push_back("kavel_a_p@831be687eb45bbc0@V@" + std::string(time));
    }
    for (const std::string& name : foreign) EXPECT_FALSE(isLogFolderName(name)) << name;
}

}  // namespace
}  // namespace android::kavel
