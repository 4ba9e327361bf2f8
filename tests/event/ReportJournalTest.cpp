// Would catch a fate that is not counted, or that another report gets; a report that is in no line
// of the log; a disabled type that pushes out all other reports; lists that grow; an archive that
// the reports in its folder do not learn about; a row of the table in another place.

#include "event/ReportJournal.h"

#include <set>

#include <gtest/gtest.h>

#include "tests/fake/FakeLog.h"
#include "tests/fake/FakeTime.h"

namespace android::kavel {
namespace {

std::shared_ptr<KavelEvent> makeEvent(long eventId, int32_t recordId) {
    KavelTimestamp arrival = {};
    arrival.realtimeNs = 1000 + recordId;
    const KavelExtraInfo extra = {"com.a", "", ""};
    auto event = std::make_shared<KavelEvent>(eventId, &arrival, 0, 1, 1, &extra);
    event->kavelEventId = recordId;
    return event;
}

/** "FATE xCOUNT in FOLDER as ARCHIVE (DETAIL)" of each entry. */
std::string shown(const std::deque<ReportEntry>& entries) {
    std::string text;
    for (const ReportEntry& entry : entries) {
        text += (text.empty() ? "" : " | ") + std::string(rowOf(entry.fate).key) + " x" +
                std::to_string(entry.count) + " in " + entry.folder + " as " + entry.archive +
                " (" + entry.detail + ")";
    }
    return text;
}

class ReportJournalTest : public testing::Test {
  protected:
    ReportJournalTest() {
        fake::captureLog();
        fake::clearLog();
    }
    uint64_t count(Fate fate) const { return mJournal.status().counts[static_cast<size_t>(fate)]; }

    ReportJournal mJournal;
};

TEST_F(ReportJournalTest, FatesHaveTheirOwnRows) {
    std::set<std::string_view> keys;
    for (size_t i = 0; i < kFates.size(); ++i) {
        EXPECT_EQ(static_cast<size_t>(kFates[i].fate), i) << kFates[i].key;
        keys.insert(kFates[i].key);
    }
    EXPECT_EQ(keys.size(), kFates.size());
}

TEST_F(ReportJournalTest, ReportsInAFolderShareItsFate) {
    const auto first = makeEvent(1, 10);
    const auto joiner = makeEvent(1, 11);
    const auto other = makeEvent(2, 12);
    for (const auto& event : {first, joiner, other}) {
        mJournal.note(Fate::Caught, *event);
        mJournal.setFolder(*event, event == other ? "/staging/other" : "/staging/shared");
    }
    mJournal.note(Fate::NoFolder, *joiner);
    mJournal.addDetail("/staging/shared", "bits are missing");
    mJournal.notePacked("/staging/shared", "shared.2.tar.gz", 42);
    EXPECT_EQ(shown(mJournal.status().recent),
              "packed x1 in shared as shared.2.tar.gz (bits are missing) | "
              "noFolder x1 in  as  () | caught x1 in other as  ()");
    mJournal.moveFolder("/staging/other", "/staging/main");
    mJournal.noteFolder(Fate::DiskFull, "/staging/main", "tar status 1");
    EXPECT_EQ(shown(mJournal.status().failures),
              "noFolder x1 in  as  () | diskFull x1 in main as  (tar status 1)");
    EXPECT_EQ(count(Fate::Caught), 3U);
    EXPECT_EQ(count(Fate::Packed), 1U);
    EXPECT_EQ(mJournal.status().archives, 1U);
    EXPECT_EQ(mJournal.status().archiveBytes, 42U);
}

TEST_F(ReportJournalTest, CountsEachReportOnce) {
    for (int i = 0; i < 100; ++i) {  // more than the list has
        const auto event = makeEvent(1, i);
        mJournal.note(Fate::Caught, *event);
        mJournal.setFolder(*event, i < 50 ? "/staging/main" : "/staging/moved");
        if (i == 98) mJournal.note(Fate::Ended, *event, "no memory");
        if (i == 99) mJournal.note(Fate::Ended, *event);
        if (i == 99) mJournal.note(Fate::Dropped, *event, "no thread");
    }
    mJournal.moveFolder("/staging/moved", "/staging/main");
    mJournal.notePacked("/staging/main", "main.tar.gz", 1);
    mJournal.noteFolder(Fate::NothingToPack, "/staging/main");
    mJournal.note(Fate::NothingToPack, *makeEvent(1, 97));
    mJournal.noteFolder(Fate::GivenUp, "/staging/of an earlier start");
    const std::string recent = shown(mJournal.status().recent);
    EXPECT_EQ(recent.substr(recent.rfind(" | ")),
              " | packed x1 in main as main.tar.gz (no thread)");
    EXPECT_EQ(count(Fate::Packed), 100U);
    EXPECT_EQ(count(Fate::Ended), 2U);
    EXPECT_EQ(count(Fate::Dropped) + count(Fate::NothingToPack), 0U);
    EXPECT_EQ(count(Fate::GivenUp), 1U);
}

TEST_F(ReportJournalTest, ListsAreBoundedAndKeepWhatIsRare) {
    mJournal.note(Fate::Caught, *makeEvent(1, 1));
    for (int i = 0; i < 100; ++i) mJournal.noteReport(Fate::Disabled, 7);
    mJournal.noteReport(Fate::Disabled, 8);
    EXPECT_EQ(shown(mJournal.status().recent),
              "caught x1 in  as  () | disabled x100 in  as  () | disabled x1 in  as  ()");
    for (int i = 2; i < 100; ++i) {
        mJournal.note(Fate::Caught, *makeEvent(1, i));
        mJournal.noteReport(Fate::Dropped, i, std::string(100'000, 'x'));
    }
    const JournalStatus status = mJournal.status();
    EXPECT_EQ(status.recent.size(), 32U);
    EXPECT_EQ(status.failures.size(), 10U);
    EXPECT_EQ(status.failures.back().eventId, 99);
    EXPECT_EQ(status.failures.back().detail.size(), ReportJournal::kMaxText);
    EXPECT_EQ(count(Fate::Disabled), 101U);
}

TEST_F(ReportJournalTest, ALineNamesTheEventWhereNoOtherDoes) {
    const auto event = makeEvent(0x402, 9);
    for (const FateRow& row : kFates) {
        fake::clearLog();
        mJournal.note(row.fate, *event);
        EXPECT_EQ(fake::logCount("[dravo_kavel reportJournal]: event 0x402 (record 9): no archive"),
                  row.hasOwnLine ? 1U : 0U)
                << row.key;
    }
    fake::clearLog();
    mJournal.noteFolder(Fate::NoHangFiles, "/staging/of an earlier\nstart");
    EXPECT_EQ(fake::logCount("[dravo_kavel reportJournal]: of an earlier\\x0astart: no archive"),
              1U);
    mJournal.setFolder(*event, "/staging/F");
    mJournal.noteLack("/staging/F", "status 15 of: mv");
    EXPECT_EQ(fake::logCount("reportJournal]: event 0x402 (record 9): lacks a log, status 15"), 1U);
}

}  // namespace
}  // namespace android::kavel
