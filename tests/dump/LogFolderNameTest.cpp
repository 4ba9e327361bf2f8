// Would catch names that other tools no longer find, and parts that leave the folder or split a
// line; an archive that takes the name of another one; a catch that is lost because its archive's
// name is too long, and half a character; a start-up that packs, and removes, folders that are not
// the daemon's.

#include "dump/LogFolderName.h"

#include <climits>
#include <cstring>

#include <gtest/gtest.h>

#include "tests/dump/HostileValues.h"

namespace android::kavel {
namespace {

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
    const auto name = parseArchiveName("kavel_e_p" + kTail + ".12.tar.gz");
    ASSERT_TRUE(name.has_value());
    EXPECT_EQ(name->sequence, 12U);
    EXPECT_EQ(name->folder, "kavel_e_p" + kTail);
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
}

TEST(LogFolderName, OursAreToldFromOthers) {
    for (const std::string& value : test::kHostileValues) {
        EXPECT_TRUE(isLogFolderName(nameOf(value, value))) << value;
    }
    EXPECT_TRUE(isLogFolderName(nameOf("a@b_c", "d@e@f", "")));
    const std::string good = "kavel_anr_p" + kTail;
    ASSERT_TRUE(isLogFolderName(good));
    std::string repeated = "kavel_" + std::string(80, '_');
    for (int i = 0; i < 50; ++i) repeated += "@a@";
    for (const std::string& foreign : {
                 std::string(),
                 good + ".2",
                 good + ".tar.gz",
                 good + "0",
                 "x" + good,
                 repeated + "x",
                 good.substr(0, good.size() - 1),
                 "kavel_" + std::string(300, 'a') + "_p" + kTail,
                 "kavel_anr" + kTail,
                 kTail,
                 "kavel_a_\n" + kTail,
         }) {
        EXPECT_FALSE(isLogFolderName(foreign)) << foreign;
    }
    for (const char* front :
         {"wxlog", "kavel_", "kavel_a_b@1@@", "kavel_@831be687eb45bbc0@V",
          "kavel_a_b@831be687eb45bbc0", "kavel_a_p@@V", "kavel_a_p@831BE687EB45BBC0@V",
          "kavel_a_p@831be687eb45bbc01@V", "kavel_a_p@831be687eb45bbcg@V"}) {
        EXPECT_FALSE(isLogFolderName(std::string(front) + "@2024-03-07-09-05-02-007")) << front;
        EXPECT_FALSE(isLogFolderName(front)) << front;
    }
    for (const char* time : {"-03-07-09-05-02-007", "2024-03-07-09-05-02-00x",
                             "2024-03-07-09:05-02-007", "x024-03-07-09-05-02-007"}) {
        EXPECT_FALSE(isLogFolderName("kavel_a_p@831be687eb45bbc0@V@" + std::string(time))) << time;
    }
}

}  // namespace
}  // namespace android::kavel
