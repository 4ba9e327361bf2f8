// Run where /data is empty and its own: see CMakeLists.txt.

#include <filesystem>

#include <gtest/gtest.h>

#include "dump/KavelDumpUtilThread.h"
#include "event/KavelTimestamp.h"
#include "tests/dump/DumpBench.h"
#include "tests/dump/Folded.h"
#include "tests/fake/TempDir.h"
#include "tests/fake/FakeShell.h"
#include "tests/fake/FakeTime.h"

namespace fs = std::filesystem;

namespace android::kavel {
namespace {

using test::DumpBench;

constexpr const char* kShared = "/data/shared";

class CommercialTest : public testing::Test {
  protected:
    CommercialTest() {
        // Directories are the one thing here that commands really make.
        mBench = std::make_unique<DumpBench>([](const std::string& command) {
            if (command.rfind("mkdir ", 0) == 0) {
                fs::create_directories(command.substr(6, command.size() - 7));
            }
            return 0;
        });
        DumpBench::sRing = [this](const EventRef& main) {
            std::vector<EventRef> ring = {main};
            for (const EventRef& record : mOthers) ring.push_back(record);
            return ring;
        };
    }
    ~CommercialTest() override {
        DumpBench::sRing = nullptr;
        mBench = nullptr;
        for (const char* const made : {"/data/persist_log", kShared}) fs::remove_all(made);
    }

    /** A commercial catch of an event that arrives now. */
    CatchRef caught(int64_t eventId, uint32_t logInfo, int32_t recordId) {
        CatchRef running = mBench->add(eventId, logInfo, {}, recordId);
        running->commercial.begin();
        running->commercial.setLogInfo(static_cast<int32_t>(logInfo));
        return running;
    }
    static void immediate(const CatchRef& running, const char* path = "") {
        KavelDumpUtilThread::immediateDumpThread(running->event->logInfo,
                                                 running->event->kavelEventId, path);
    }
    static void continuous(const CatchRef& running, const char* path = "") {
        KavelDumpUtilThread::commercialContinuousDumpThread(running->event->kavelEventId, path);
    }
    std::string take(const char* what) {
        return "## " + std::string(what) + "\n" + test::folded(mBench->takeTranscript()) + "\n";
    }

    std::unique_ptr<DumpBench> mBench;
    std::vector<EventRef> mOthers;
};

// Catches any change of what a commercial catch runs, says and waits for: a lone abnormal action;
// one after a technical event, whose folder it takes along; records that are too old, of a kind
// that is never related, or without a catch; a folder that is shared with a trail window.
TEST_F(CommercialTest, CatchesAreAsInTheGoldenFile) {
    std::string all;
    CatchRef action = caught(0xF01, 0x101043, 1);
    immediate(action);
    continuous(action);
    all += take("a lone abnormal action");

    const CatchRef old = caught(0x3, 0x10000000, 2);
    immediate(old);
    fake::advance(30);
    const CatchRef technical = caught(0x4, 0x10000006, 3);
    immediate(technical);
    const CatchRef never = mBench->add(0xE01, 0x1, {}, 4);
    const EventRef uncaught = mBench->add(0x402, 0, {}, 5)->event;
    mOthers = {old->event, never->event, uncaught, technical->event};
    all += take("technical events");
    action = caught(0xF02, 0x10, 6);
    immediate(action);
    continuous(action);
    all += take("an abnormal action right after the second");
    EXPECT_NE(mBench->context().technical.claim(old->event), nullptr) << "too old to be claimed";
    EXPECT_EQ(mBench->context().technical.claim(technical->event), nullptr);

    fs::create_directory(kShared);
    mOthers.clear();
    action = caught(0x101, 0x2, 7);
    immediate(action, kShared);
    continuous(action, kShared);
    all += take("a main event that is related to itself, in a shared folder");
    EXPECT_EQ(all, test::contentOf(KAVEL_GOLDEN_DIR "/commercial.txt"));
}

// Catches a catch that loses its streaming logs, or its folder, because the window that it shared
// a folder with is packed before it.
TEST_F(CommercialTest, OwnFolderTakesOverWhereTheSharedOneIsGone) {
    fs::create_directory(kShared);
    const CatchRef action = caught(0xF01, 0x1, 1);
    immediate(action, kShared);
    EXPECT_EQ(action->commercial.ownFolder(), "");
    fs::remove_all(kShared);
    continuous(action, kShared);
    const std::string own = action->commercial.ownFolder();
    EXPECT_TRUE(fs::is_directory(own));
    EXPECT_EQ(fake::commandCount("rm -rf " + own), 1U);
    EXPECT_EQ(fake::commandCount("rm -rf /data/shared"), 0U);
}

// Catches folders that pile up, that go while an abnormal action may still come for them, and one
// that is removed though it is another's.
TEST_F(CommercialTest, UnclaimedTechnicalFoldersAreBounded) {
    TechnicalCatches& kept = mBench->context().technical;
    std::vector<std::string> folders;
    int32_t recordId = 1;
    const auto catchAnother = [&](const char* path = "") {
        const CatchRef running = caught(0x3, 0, recordId++);
        immediate(running, path);
        folders.push_back(running->commercial.ownFolder());
        fake::advance(1);
    };
    const auto removed = [&] {
        mBench->takeTranscript();
        size_t count = 0;
        for (const std::string& folder : folders) {
            if (!folder.empty()) count += fake::commandCount("rm -rf " + folder);
        }
        return count;
    };
    fs::create_directory(kShared);
    catchAnother(kShared);
    for (int i = 0; i < 8; ++i) catchAnother();
    EXPECT_EQ(removed(), 0U) << "nine, but young";
    EXPECT_EQ(mBench->context().catches.size(), 9U);
    fake::advance(80);
    catchAnother();
    EXPECT_EQ(removed(), 1U) << "two went, but one of them had no folder of its own";
    EXPECT_EQ(mBench->context().catches.size(), TechnicalCatches::kUsual);
    for (int i = 0; i < 40; ++i) catchAnother();
    EXPECT_EQ(mBench->context().catches.size(), TechnicalCatches::kMost);
    EXPECT_EQ(fake::commandCount("rm -rf /data/shared"), 0U);
    EXPECT_EQ(kept.claim(caught(0x3, 0, 1000)->event), nullptr);
}

// Catches a pack of a record that is gone, and a command with an empty or root path.
TEST_F(CommercialTest, NoPackWithoutAFolderOrARecord) {
    const CatchRef trail = mBench->add(0x3, 0x1);
    for (const char* const path : {"", "/"}) {
        KavelDumpUtilThread::commercialLogPack(DumpBench::kRecordId, path, "");
        KavelDumpUtilThread::commercialContinuousDumpThread(DumpBench::kRecordId, path);
    }
    KavelDumpUtilThread::commercialLogPack(12345, "/data/F", "");
    KavelDumpUtilThread::commercialContinuousDumpThread(12345, "/data/F");
    EXPECT_EQ(mBench->takeTranscript().find('$'), std::string::npos);
}

}  // namespace
}  // namespace android::kavel
