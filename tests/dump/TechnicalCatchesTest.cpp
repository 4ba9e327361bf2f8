#include <filesystem>

#include <gtest/gtest.h>

#include "dump/KavelDumpUtilThread.h"
#include "tests/dump/DumpBench.h"
#include "tests/fake/FakeFiles.h"
#include "tests/fake/FakeShell.h"
#include "tests/fake/FakeTime.h"

namespace android::kavel {
namespace {

using test::DumpBench;

// Would catch folders that pile up, that go while an abnormal action may still come for them, and
// one that is removed though it is another's.
TEST(TechnicalCatches, UnclaimedFoldersAreBounded) {
    constexpr const char* kShared = "/data/shared";
    std::filesystem::create_directory(kShared);
    DumpBench bench(fake::carryOut);
    std::vector<std::string> folders;
    int32_t recordId = 1;
    const auto catchAnother = [&](const char* path = "") {
        const CatchRef running = bench.add(0x3, 0, {}, recordId++);
        running->commercial.begin();
        if (*path != '\0') {
            running->setFolder(std::make_shared<LogFolder>(path, LogFolder::Kind::Window));
        }
        KavelDumpUtilThread::immediateDumpThread(running, nullptr);
        folders.push_back(running->folder()->path());
        fake::advance(1);
    };
    const auto removed = [&] {
        bench.settle();
        size_t count = 0;
        for (const std::string& folder : folders) {
            count += fake::commandCount("rm -rf " + folder);
        }
        return count;
    };
    const CatchTable& catches = bench.context().catches;
    catchAnother(kShared);
    for (int i = 0; i < 8; ++i) catchAnother();
    EXPECT_EQ(removed(), 0U) << "nine, but young";
    EXPECT_EQ(catches.size(), 9U);
    fake::advance(80);
    catchAnother();
    EXPECT_EQ(removed(), 1U) << "two went, but one of them had no folder of its own";
    EXPECT_EQ(catches.size(), TechnicalCatches::kUsual);
    for (int i = 0; i < 40; ++i) catchAnother();
    EXPECT_EQ(catches.size(), TechnicalCatches::kMost);
    EXPECT_EQ(fake::commandCount("rm -rf /data/shared"), 0U);
    const CatchRef unknown = bench.add(0x3, 0, {}, 1000);
    EXPECT_EQ(bench.context().technical.claim(unknown->event), nullptr);
}

}  // namespace
}  // namespace android::kavel
