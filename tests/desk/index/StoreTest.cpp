#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

#include "desk/questions/Known.h"
#include "desk/questions/Questions.h"
#include "desk/store/Schema.h"
#include "desk/store/Sqlite.h"
#include "desk/store/SqliteSchema.h"
#include "desk/store/Store.h"
#include "tests/desk/index/Fleet.h"
#include "tests/desk/index/KilledChild.h"
#include "tests/fake/TempDir.h"

namespace kaveldesk {
namespace {

using android::kavel::test::contentOf;
using android::kavel::test::TempDir;
using test::Fleet;

std::vector<CatchRow> someRows(size_t count) {
    test::FleetOptions options;
    options.catches = count;
    Fleet fleet(options);
    std::vector<CatchRow> rows;
    CatchRow row;
    while (fleet.next(row)) {
        if (rows.empty() || rows.back().hash != row.hash) rows.push_back(row);
    }
    return rows;
}

/** The first column of the answer, as one text. */
std::string answer(Store& store, const std::string& sql) {
    std::string text;
    for (const Row& row : readTable(store, {sql, {}, {}}).rows) {
        const auto* integer = std::get_if<int64_t>(row.data());
        text += (text.empty() ? "" : " ") +
                (integer != nullptr ? std::to_string(*integer) : textOf(row[0]));
    }
    return text;
}

// Would catch a catch that counts twice, and rows of a table that are left behind.
TEST(Store, TheSameBatchAgainChangesNothing) {
    const TempDir dir;
    const auto store = openStore(dir / "index.db", Access::Write);
    const Batch batch{someRows(300), {{"/a/b's.tar.gz", 5, 7, "hash"}}};
    const std::string counts =
            "SELECT (SELECT count(*) FROM catches) || ' ' || (SELECT count(*) FROM events) || ' ' "
            "||"
            " (SELECT count(*) FROM files) || ' ' || (SELECT count(*) FROM findings) || ' ' ||"
            " (SELECT count(*) FROM statistics) || ' ' || (SELECT sum(catches) FROM daily)";
    for (int i = 0; i < 2; ++i) {
        store->insert(batch);
        EXPECT_EQ(answer(*store, counts), "300 300 600 600 600 300");
    }
    EXPECT_THAT(store->areKnown({batch.catches[0].hash, "none", batch.catches[9].hash}),
                testing::ElementsAre(true, false, true));
    EXPECT_THAT(store->areUnchanged({{"/a/b's.tar.gz", 5, 7, {}},
                                     {"/a/b's.tar.gz", 5, 8, {}},
                                     {"/a/b's.tar.gz", 6, 7, {}},
                                     {"/a", 5, 7, {}}}),
                testing::ElementsAre(true, false, false, false));
}

// Would catch a batch that is stored in parts: the process is killed while it writes one.
TEST(Store, AKilledWriterLeavesWholeBatches) {
    const TempDir dir;
    const std::vector<CatchRow> rows = someRows(2000);
    const Batch first{{rows.begin(), rows.begin() + 100}, {}};
    const Batch second{{rows.begin() + 100, rows.end()}, {}};
    EXPECT_EQ(test::statusOfChild([&] {
                  const auto store = openStore(dir / "index.db", Access::Write);
                  store->insert(first);
                  test::endWhenAFileGrows(dir / "index.db-wal", 40'000);
                  store->insert(second);
              }),
              SIGXFSZ);
    const auto store = openStore(dir / "index.db", Access::Write);
    EXPECT_EQ(answer(*store, "SELECT count(*) FROM catches"), "100");
    store->insert(second);
    EXPECT_EQ(answer(*store, "SELECT sum(catches) FROM daily"), "2000");
}

// Would catch an index of an older version that is refused, or whose counts are not brought along.
TEST(Store, AnOlderVersionIsBroughtUpToDate) {
    for (int version = 0; version <= kSchemaVersion; ++version) {
        SCOPED_TRACE(version);
        const TempDir dir;
        {
            SqliteDb db(dir / "index.db", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
            migrateSqlite(db, version);
            if (version > 0) {
                db.run("INSERT INTO catches (id, hash, process, utc, utc_day) VALUES"
                       " (1, 'a', 'p', 86400005, 86400000), (2, 'b', 'p', 86400009, 86400000)");
            }
        }
        const auto store = openStore(dir / "index.db", Access::Read);
        EXPECT_EQ(answer(*store, "SELECT count(*) FROM catches"), version > 0 ? "2" : "0");
        if (version != 1) continue;
        const Table table = top(*store, {}, TopBy::Process, 9);
        ASSERT_EQ(table.rows.size(), 1U);
        EXPECT_EQ(table.rows[0], (Row{std::string("p"), int64_t{2}, int64_t{86400005},
                                      int64_t{86400009}, int64_t{1}}));
    }
}

TEST(Store, OtherFilesAreRefused) {
    const TempDir dir;
    dir.write("text", "no database, and longer than the header of one. " + std::string(4096, 'x'));
    SqliteDb(dir / "other", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE).run("CREATE TABLE t (x)");
    openStore(dir / "newer", Access::Write);
    SqliteDb(dir / "newer", SQLITE_OPEN_READWRITE).run("PRAGMA user_version = 99");
    const struct {
        const char* name;
        const char* error;
    } cases[] = {{"text", "not a database"},
                 {"other", "another program"},
                 {"newer", "version 99"},
                 {"none/none", "none"}};
    for (const auto& each : cases) {
        for (const Access access : {Access::Read, Access::Write}) {
            SCOPED_TRACE(each.name);
            try {
                openStore(dir / each.name, access);
                ADD_FAILURE() << "it was opened";
            } catch (const std::runtime_error& error) {
                EXPECT_THAT(error.what(), testing::HasSubstr(each.error));
            }
        }
    }
    EXPECT_EQ(contentOf(dir / "text").substr(0, 11), "no database");
}

// Would catch a statement that changes the index or reaches other files. A store for writing has to
// refuse them as well.
TEST(Store, QueriesOnlyRead) {
    const TempDir dir;
    const std::string other = dir / "other.db";
    for (const Access access : {Access::Write, Access::Read}) {
        const auto store = openStore(dir / "index.db", access);
        if (access == Access::Write) store->insert({someRows(3), {}});
        for (const std::string& sql : std::vector<std::string>{
                     "DELETE FROM catches", "UPDATE catches SET hash = ''", "DROP TABLE catches",
                     "INSERT INTO sources VALUES ('', 0, 0, '')", "CREATE TABLE t (x)",
                     "ATTACH '" + other + "' AS x", "VACUUM INTO '" + other + "'",
                     "PRAGMA user_version = 7", "PRAGMA query_only = 0", "BEGIN IMMEDIATE",
                     "SELECT load_extension('x')", "SELECT 1; DELETE FROM catches",
                     "WITH x AS (SELECT 1) DELETE FROM catches", "", "-- nothing", "SELECT ?",
                     "SELECT * FROM none"}) {
            SCOPED_TRACE(sql);
            EXPECT_THROW(readTable(*store, {sql, {}, {}}), std::runtime_error);
        }
        EXPECT_EQ(answer(*store,
                         "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n "
                         "WHERE i < 3) SELECT i + (SELECT count(*) FROM catches) FROM n"),
                  "4 5 6");
    }
    EXPECT_NE(access(other.c_str(), F_OK), 0);
}

// Would catch a table or column that docs/index.md lacks or describes in another way.
TEST(Store, ThePageHasTheSchema) {
    const std::string page = contentOf(KAVEL_SOURCE "/docs/index.md");
    size_t at = 0;
    for (const SchemaTable& table : schemaTables()) {
        const auto skipTo = [&](const std::string& line) {
            const size_t found = page.find("\n" + line + "\n", at);
            EXPECT_NE(found, std::string::npos) << line;
            if (found != std::string::npos) at = found;
        };
        skipTo("### " + std::string(table.name));
        for (const SchemaColumn& column : table.columns) {
            constexpr const char* kTypes[] = {"text", "integer", "real", "time"};
            skipTo("| `" + std::string(column.name) + "` | " +
                   kTypes[static_cast<size_t>(column.type)] + " | " + std::string(column.meaning) +
                   " |");
        }
    }
}

}  // namespace
}  // namespace kaveldesk
