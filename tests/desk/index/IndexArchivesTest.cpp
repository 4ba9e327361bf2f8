#include "desk/index/IndexArchives.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "desk/questions/Known.h"
#include "tests/desk/index/Fleet.h"
#include "tests/desk/index/KilledChild.h"
#include "tests/fake/TempDir.h"

namespace kaveldesk {
namespace {

namespace fs = std::filesystem;
using android::kavel::test::TempDir;
using test::Fleet;
using testing::HasSubstr;

/** Files of a fleet's catches below a folder, and the catches by the archive's name. */
struct Archives {
    explicit Archives(size_t catches) {
        test::FleetOptions options;
        options.catches = catches;
        Fleet fleet(options);
        CatchRow row;
        while (fleet.next(row)) {
            if (rows.count(row.archive) != 0) continue;
            const Fleet::Archive archive = fleet.archive(row, 2000);
            const std::string folder = dir / ("in/" + row.build);
            fs::create_directories(folder);
            paths.push_back(dir.write("in/" + row.build + "/" + archive.name, archive.bytes));
            rows[row.archive] = row;
        }
        bytes = android::kavel::test::contentOf(paths.front());
    }
    IndexCounts index(IndexOptions options = {}) {
        options.threads = 3;
        options.batch = 7;
        options.failed = [](const auto& path, const auto& reason) {
            ADD_FAILURE() << path << ": " << reason;
        };
        const auto store = openStore(dir / "index.db", Access::Write);
        return indexArchives(*store, {dir / "in"}, options);
    }
    Table ask(const std::string& sql) {
        return readTable(*openStore(dir / "index.db", Access::Read), {sql, {}, {}});
    }
    /** Each catch of the fleet has to be there once, with what was planted. */
    void expectAll() {
        const Table table =
                ask("SELECT archive, fingerprint, process, build, utc, path FROM "
                    "catches WHERE broken = 0");
        EXPECT_EQ(table.rows.size(), rows.size());
        std::map<std::string, Row> found;
        for (const Row& row : table.rows) found[textOf(row[0])] = row;
        for (const auto& [name, row] : rows) {
            EXPECT_EQ(found[name], (Row{name, row.fingerprint, row.process, row.build, row.utc,
                                        dir / ("in/" + row.build + "/" + name)}));
        }
    }

    TempDir dir;
    std::map<std::string, CatchRow> rows;
    std::vector<std::string> paths;
    std::string bytes;  // of one archive
};

std::vector<uint64_t> asList(const IndexCounts& counts) {
    return {counts.indexed, counts.broken, counts.unchanged, counts.duplicates, counts.failed};
}

// Would catch an archive that is indexed twice or not at all, and a broken one that is an error.
TEST(IndexArchives, EachArchiveIsIndexedOnce) {
    Archives archives(40);
    const TempDir& dir = archives.dir;
    fs::create_directories(dir / "in/a/b");
    dir.write("in/a/cut.tar.gz", archives.bytes.substr(0, archives.bytes.size() * 2 / 3));
    dir.write("in/a/empty.tar.gz", "");
    dir.write("in/a/noise.zip", std::string("\0\1\2\3\4\5\6\7\xff\xfe", 10));
    dir.write("in/a/notes.txt", "no archive");
    fs::create_symlink(archives.paths[0], dir / "in/a/link.tar.gz");
    fs::create_directory_symlink(dir / "in", dir / "in/a/loop");

    EXPECT_EQ(asList(archives.index()), (std::vector<uint64_t>{43, 3, 0, 0, 0}));
    archives.expectAll();
    const Table broken = archives.ask(
            "SELECT archive, why, fingerprint != '', (SELECT count(*) FROM "
            "files WHERE catch_id = id) FROM catches WHERE broken = 1 "
            "ORDER BY archive");
    ASSERT_EQ(broken.rows.size(), 3U);
    const char* const reasons[] = {"ends early", "empty", "neither an archive nor text"};
    for (size_t i = 0; i < 3; ++i) EXPECT_THAT(textOf(broken.rows[i][1]), HasSubstr(reasons[i]));
    EXPECT_GE(integerOf(broken.rows[0][3]), 1);  // what of a cut archive is there

    dir.write("in/a/b/it's; a \"copy\"\n.tgz", archives.bytes);
    EXPECT_EQ(asList(archives.index()), (std::vector<uint64_t>{0, 0, 43, 1, 0}));
    EXPECT_EQ(asList(archives.index()), (std::vector<uint64_t>{0, 0, 44, 0, 0}));
    fs::last_write_time(archives.paths[1], fs::file_time_type::clock::now());
    dir.write("in/a/empty.tar.gz", "now a text\n");
    EXPECT_EQ(asList(archives.index()), (std::vector<uint64_t>{1, 0, 42, 1, 0}));
}

// Would catch catches that a stopped run has read but not stored, and a run that begins again.
TEST(IndexArchives, AStoppedRunGoesOn) {
    Archives archives(60);
    uint64_t indexed = 0;
    for (int runs = 0; indexed < 60; ++runs) {
        ASSERT_LT(runs, 60) << "a run does nothing";
        std::atomic<bool> stop = false;
        IndexOptions options;
        options.stop = &stop;
        options.progress = [&](const IndexCounts& counts, const IndexTotals& totals) {
            EXPECT_EQ(totals.files, 60U);
            stop = counts.indexed > 0;
        };
        const IndexCounts counts = archives.index(options);
        EXPECT_EQ(counts.unchanged, indexed);
        indexed += counts.indexed;
    }
    archives.expectAll();
}

// Would catch an index that a kill in mid-batch leaves broken, or with half of a catch.
TEST(IndexArchives, AKilledRunGoesOn) {
    Archives archives(60);
    openStore(archives.dir / "index.db", Access::Write);
    EXPECT_EQ(test::statusOfChild([&] {
                  test::endWhenAFileGrows(archives.dir / "index.db", 60'000);
                  archives.index();
              }),
              SIGXFSZ);
    const int64_t stored = integerOf(archives.ask("SELECT count(*) FROM catches").rows[0][0]);
    EXPECT_GT(stored, 0);
    EXPECT_LT(stored, 60);
    EXPECT_EQ(archives.index().indexed, 60U - static_cast<uint64_t>(stored));
    archives.expectAll();
    EXPECT_EQ(archives.ask("SELECT 1 FROM catches WHERE id NOT IN (SELECT catch_id FROM events)")
                      .rows.size(),
              0U);
    EXPECT_EQ(archives.ask("SELECT sum(catches) FROM daily").rows[0][0], Value(int64_t{60}));
}

// Would catch a run that takes the store's failure for that of a file and goes on.
TEST(IndexArchives, AStoreThatFailsEndsTheRun) {
    struct : Store {
        void insert(const Batch&) override {
            ++inserts;
            throw std::runtime_error("lost");
        }
        std::vector<bool> areKnown(const std::vector<std::string>& hashes) override {
            return std::vector<bool>(hashes.size());
        }
        std::vector<bool> areUnchanged(const std::vector<SourceRow>& sources) override {
            return std::vector<bool>(sources.size());
        }
        void read(const Query&, RowSink&) override {}
        int inserts = 0;
    } store;
    const Archives archives(200);
    IndexOptions options;
    options.threads = 3;
    options.batch = 7;
    options.failed = [](const auto& path, const auto& reason) {
        ADD_FAILURE() << path << ": " << reason;
    };
    EXPECT_THROW(indexArchives(store, {archives.dir / "in"}, options), std::runtime_error);
    EXPECT_EQ(store.inserts, 1);
}

TEST(IndexArchives, APathThatIsNotThereEndsTheRun) {
    const TempDir dir;
    const auto store = openStore(dir / "index.db", Access::Write);
    EXPECT_THROW(indexArchives(*store, {dir / "none"}, {}), std::runtime_error);
}

}  // namespace
}  // namespace kaveldesk
