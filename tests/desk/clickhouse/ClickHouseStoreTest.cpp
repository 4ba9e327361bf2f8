#include <fmt/core.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "desk/questions/Known.h"
#include "desk/questions/Questions.h"
#include "desk/store/ClickHouseHttp.h"
#include "desk/store/Schema.h"
#include "desk/store/Store.h"
#include "tests/desk/clickhouse/ClickHouseServer.h"
#include "tests/desk/clickhouse/CuttingProxy.h"
#include "tests/desk/index/Fleet.h"
#include "tests/fake/TempDir.h"

namespace kaveldesk {
namespace {

using android::kavel::test::TempDir;
using test::ClickHouseServer;
using test::CuttingProxy;
using test::Fate;
using test::Fleet;

const std::string kOdd("it's \"odd\"; -- ?\\'%\t\n\r\0\b\f\xff\xc3 \xe2\x82\xac", 30);

/** One server for all tests. */
class ClickHouse : public testing::Test {
  protected:
    void SetUp() override {
        if (access(ClickHouseServer::kProgram, X_OK) != 0) GTEST_SKIP() << "no clickhouse-server";
        static ClickHouseServer server;
        mServer = &server;
    }
    std::unique_ptr<Store> openBehind(const CuttingProxy& proxy, const std::string& place) {
        return openStore(ClickHouseServer::behind(proxy.port(), place), Access::Write);
    }
    ClickHouseServer* mServer = nullptr;
};

std::vector<CatchRow> someRows(size_t count) {
    test::FleetOptions options;
    options.catches = count;
    Fleet fleet(options);
    std::vector<CatchRow> rows;
    CatchRow row;
    while (fleet.next(row)) {
        if (rows.size() % 50 == 1) row.process = row.findings[0].kind = kOdd;
        if (rows.size() % 50 == 2) row.utc = -1;
        if (rows.size() % 50 == 3) row.fingerprint.clear();
        rows.push_back(row);
    }
    return rows;
}

std::string textOf(const Table& table) {
    std::string text;
    for (const Column& column : table.columns) text += column.name + "|";
    for (const Row& row : table.rows) {
        text += "\n";
        for (const Value& value : row) {
            if (const auto* integer = std::get_if<int64_t>(&value))
                text += fmt::format("{}|", *integer);
            if (const auto* real = std::get_if<double>(&value))
                text += fmt::format("{:.9g}r|", *real);
            if (const auto* plain = std::get_if<std::string>(&value)) text += "'" + *plain + "'|";
        }
    }
    return text;
}

/** All rows of @p table, with the hash of the catch for its id, which each engine has of its own.
 */
std::string rowsOf(Store& store, const SchemaTable& table) {
    std::map<Value, Value> hashes;
    for (const Row& row : readTable(store, {"SELECT id, hash FROM catches", {}, {}}).rows) {
        hashes[row[0]] = row[1];
    }
    Query query;
    for (const auto& column : table.columns) {
        query.sql += fmt::format("{}{}", query.sql.empty() ? "SELECT " : ", ", column.name);
    }
    query.sql += fmt::format(" FROM {}", table.name);
    Table rows = readTable(store, query);
    for (Row& row : rows.rows) row[0] = hashes.at(row[0]);
    std::sort(rows.rows.begin(), rows.rows.end());
    return textOf(rows);
}

/** Both stores have the same rows in each table. */
void expectSameTables(Store& one, Store& other) {
    for (const SchemaTable& table : schemaTables()) {
        if (table.key != "id" && table.key.find("catch_id") == std::string_view::npos) {
            continue;  // can have several rows of a key
        }
        EXPECT_TRUE(rowsOf(one, table) == rowsOf(other, table)) << table.name;
    }
    const std::string days =
            "SELECT utc_day, event, process, build, fingerprint, kind, sum(catches), "
            "min(first_utc), max(last_utc) FROM daily GROUP BY utc_day, event, process, build, "
            "fingerprint, kind ORDER BY utc_day, event, process, build, fingerprint, kind";
    const std::vector<Column> columns(9, Column{"x"});
    EXPECT_EQ(textOf(readTable(one, {days, {}, columns})),
              textOf(readTable(other, {days, {}, columns})));
}

// Would catch SQL that the engines read in different ways, a value that a literal or a row changes,
// and an answer with other types.
TEST_F(ClickHouse, AnswersEachQuestionAsSqliteDoes) {
    const TempDir dir;
    const std::string place = mServer->newDatabase();
    const auto clickHouse = openStore(place, Access::Write);
    const auto sqlite = openStore(dir / "index.db", Access::Write);
    const Batch batch{someRows(6000), {}};
    clickHouse->insert(batch);
    sqlite->insert(batch);
    expectSameTables(*clickHouse, *sqlite);

    const CatchRow& some = batch.catches[100];
    const int64_t day = startOf(some.utc, kMsPerDay);
    const Filter filters[] = {
            {},
            {day, day + 3 * kMsPerDay, {}, {}, {}, {}},
            {day + 5, day + 2 * kMsPerDay + kMsPerHour + 7, {}, {}, {}, {}},
            {day + kMsPerHour + 1, day + 3 * kMsPerHour + 2, {}, {}, {}, {}},
            {INT64_MIN, INT64_MAX, {}, {}, {}, {}},
            {{}, {}, {}, {}, Fleet::build(2), {}},
            {day + 9, {}, "anr", some.process, {}, {}},
            {{}, day + 5, {}, kOdd, {}, {}},
            {{}, {}, {}, "' OR 1=1 --", {}, {}},
            {day + 5, {}, {}, {}, {}, some.fingerprint},
    };
    const ListPlace behind{some.utc, some.hash};
    using Ask = std::function<Table(Store&, const Filter&)>;
    std::vector<Ask> questions = {
            [](Store& s, const Filter& f) { return trend(s, f, TrendPer::Day); },
            [](Store& s, const Filter& f) { return trend(s, f, TrendPer::Hour); },
            [&](Store& s, const Filter& f) {
                return trendOf(s, f, {some.fingerprint, batch.catches[7].fingerprint});
            },
            [](Store& s, const Filter& f) { return listCatches(s, f, 300); },
            [&](Store& s, const Filter& f) { return listCatches(s, f, 300, &behind); },
            [&](Store& s, const Filter&) { return catchOf(s, some.hash); },
            [&](Store& s, const Filter& f) { return similar(s, f, some.kind, some.signature, 20); },
            [](Store& s, const Filter& f) {
                return compare(s, f, Fleet::build(1), Fleet::build(2)).fingerprints;
            },
    };
    for (const TopBy by : {TopBy::Process, TopBy::Event, TopBy::Fingerprint, TopBy::Build}) {
        questions.emplace_back([by](Store& s, const Filter& f) { return top(s, f, by, 100); });
    }
    for (size_t part = 0; part < 7; ++part) {
        questions.emplace_back([&, part](Store& s, const Filter& f) {
            return show(s, f, some.fingerprint).at(part).table;
        });
    }
    size_t rows = 0;
    for (size_t f = 0; f < std::size(filters); ++f) {
        for (size_t q = 0; q < questions.size(); ++q) {
            const Table answer = questions[q](*clickHouse, filters[f]);
            rows += answer.rows.size();
            EXPECT_EQ(textOf(answer), textOf(questions[q](*sqlite, filters[f])))
                    << "question " << q << ", filter " << f;
        }
    }
    EXPECT_GT(rows, 5000U);
}

// Would catch an escape that is missing in a literal or in a row.
TEST_F(ClickHouse, KeepsAllBytesOfAText) {
    const auto store = openStore(mServer->newDatabase(), Access::Write);
    std::vector<Value> texts = {"", "\\N", "\\'", "'; DROP TABLE catches_rows; --", "? ?"};
    for (int c = 0; c < 256; ++c)
        texts.emplace_back("a" + std::string(1, static_cast<char>(c)) + "'");
    Query query{"SELECT 1", texts, {}};
    for (size_t i = 0; i < texts.size(); ++i) query.sql += ", ?";
    Row row = readTable(*store, query).rows.at(0);
    row.erase(row.begin());
    EXPECT_EQ(row, texts);
    query = {"SELECT ?, ?, ?", {INT64_MIN, 0.1, {}}, {}};
    EXPECT_EQ(readTable(*store, query).rows.at(0), query.parameters);
}

// Would catch a batch that counts before it is whole, one that counts twice when it is given again,
// and a source that says its file is stored before it is.
TEST_F(ClickHouse, ACutConnectionLosesAndDoublesNothing) {
    const TempDir dir;
    const std::string place = mServer->newDatabase();
    const auto direct = openStore(place, Access::Write);
    const auto sqlite = openStore(dir / "index.db", Access::Write);
    Fate fate;
    size_t cutAt = 0;  // number of the request
    size_t requests = 0;
    const CuttingProxy proxy(mServer->port(), [&](const std::string& request) {
        if (requests++ != cutAt) return Fate{};
        Fate cut = fate;
        if (cut.request != std::string::npos) {  // at the end of a row: the server sees no damage
            cut.request = request.rfind('\n', request.size() / 2) + 1;
        }
        return cut;
    });
    const std::vector<CatchRow> rows = someRows(1000);
    auto next = rows.begin();
    size_t cuts = 0;
    for (const Fate each : {Fate{0, 0}, Fate{std::string::npos, 0}}) {
        fate = each;
        for (cutAt = 2;; ++cutAt) {  // after those that open the index
            SCOPED_TRACE(fmt::format("request {}, its answer: {}", cutAt, each.request != 0));
            Batch batch{{next, next + 20}, {}};
            batch.sources = {{"/" + batch.catches[0].hash, 1, 2, batch.catches[0].hash}};
            next += 20;
            requests = 0;
            const auto store = openBehind(proxy, place);
            const bool hasFailed = [&] {
                try {
                    store->insert(batch);
                } catch (const std::runtime_error&) {
                    return true;
                }
                return false;
            }();
            EXPECT_EQ(hasFailed, requests > cutAt);
            if (direct->areUnchanged(batch.sources)[0]) {
                EXPECT_TRUE(direct->areKnown({batch.catches[19].hash})[0]);
            } else {
                EXPECT_TRUE(hasFailed);
            }
            direct->insert(batch);
            EXPECT_TRUE(direct->areUnchanged(batch.sources)[0]);
            sqlite->insert(batch);
            if (!hasFailed) break;
            ++cuts;
        }
    }
    EXPECT_GE(cuts, 2 * 10U);
    expectSameTables(*direct, *sqlite);
}

// Would catch a catch that counts for each of its writers, or for none.
TEST_F(ClickHouse, TheSameCatchOfSeveralWritersCountsOnce) {
    const TempDir dir;
    const auto sqlite = openStore(dir / "index.db", Access::Write);
    const Batch batch{someRows(60), {}};
    sqlite->insert(batch);
    // The first writer waits just before its batch counts, until the second has done all, or is
    // where it waits for the third. "end" is what becomes of the first.
    for (const Fate end : {Fate{}, Fate{0, 0}}) {
        for (int repeats = 0; repeats < 3; ++repeats) {  // for each order of the random numbers
            const std::string place = mServer->newDatabase();
            const auto third = openStore(place, Access::Write);
            const auto isLast = [](const std::string& request) {
                return request.find("INSERT INTO batches") != std::string::npos;
            };
            const CuttingProxy inner(mServer->port(), [&](const std::string& request) {
                if (isLast(request)) third->insert(batch);
                return Fate{};
            });
            const auto second = openBehind(inner, place);
            const CuttingProxy outer(mServer->port(), [&](const std::string& request) {
                if (isLast(request)) second->insert(batch);
                return isLast(request) ? end : Fate{};
            });
            const auto first = openBehind(outer, place);
            try {
                first->insert(batch);
            } catch (const std::runtime_error&) {
                EXPECT_EQ(end.request, 0U);
            }
            expectSameTables(*third, *sqlite);
        }
    }
}

TEST_F(ClickHouse, AnAnswerThatIsCutIsAnError) {
    const std::string place = mServer->newDatabase();
    openStore(place, Access::Write);
    const CuttingProxy proxy(mServer->port(), [](const std::string& request) {
        return Fate{std::string::npos, request.find("system.numbers") != std::string::npos
                                               ? 60'000
                                               : std::string::npos};
    });
    const auto store = openBehind(proxy, place);
    EXPECT_THROW(readTable(*store, {"SELECT number FROM system.numbers LIMIT 100000", {}, {}}),
                 std::runtime_error);
    EXPECT_EQ(readTable(*openStore(place, Access::Read),
                        {"SELECT number FROM system.numbers LIMIT 100000", {}, {}})
                      .rows.size(),
              100'000U);
}

std::string outputOf(const std::string& command) {
    FILE* const pipe = popen(command.c_str(), "r");
    std::string output;
    for (int c = fgetc(pipe); c != EOF; c = fgetc(pipe)) output += static_cast<char>(c);
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

/** What `kaveldesk serve` shows, until Ctrl-C. */
std::string pagesOf(const std::string& place, const std::vector<std::string>& paths) {
    FILE* const pipe = popen(
            fmt::format("echo $$; exec {} serve --listen 127.0.0.1:0 --db {}", KAVELDESK, place)
                    .c_str(),
            "r");
    int pid = 0;
    int port = 0;
    EXPECT_EQ(fscanf(pipe, "%d http://127.0.0.1:%d/", &pid, &port), 2) << place;
    std::string pages;
    httplib::Client client("127.0.0.1", port);
    for (const std::string& path : paths) {
        const auto reply = client.Get(path);
        pages += reply ? fmt::format("{} {}\n", reply->status, reply->body) : "none";
    }
    if (pid > 0) kill(pid, SIGINT);
    EXPECT_EQ(pclose(pipe), 0);
    return pages;
}

// Would catch a command that takes only a file, archives that count again, and an account that can
// only read and is refused.
TEST_F(ClickHouse, CommandsAndPagesAnswerAsFromAFile) {
    const TempDir dir;
    Fleet fleet({});
    CatchRow row;
    for (int i = 0; i < 5 && fleet.next(row); ++i) {
        const Fleet::Archive archive = fleet.archive(row, 1000);
        dir.write(archive.name, archive.bytes);
    }
    dir.write("empty.tar.gz", "");
    const std::string places[] = {dir / "index.db", mServer->newDatabase()};
    std::vector<std::string> answers;
    for (const std::string& place : places) {
        const auto ask = [&](const std::string& command, const std::string& account = "") {
            return outputOf(fmt::format("CLICKHOUSE_USER={} {} {} --db {}", account, KAVELDESK,
                                        command, place));
        };
        EXPECT_THAT(ask("index " + dir / ""),
                    testing::HasSubstr("6 archives indexed, 1 of them b"));
        EXPECT_THAT(ask("index " + dir / ""), testing::HasSubstr(" 0 archives indexed, 0 of them "
                                                                 "broken; 6 unchanged"));
        answers.push_back(ask("show " + row.fingerprint, "reader1") + ask("trend", "reader2"));
        const std::string rows =
                ask("sql --csv 'SELECT hash, why FROM catches ORDER BY why, hash'");
        answers.back() += rows;
        answers.back() += pagesOf(place, {"/", "/catches", "/fingerprint/" + row.fingerprint,
                                          "/report/" + rows.substr(rows.find('\n') + 1, 64)});
    }
    EXPECT_THAT(answers[0], testing::HasSubstr("<title>kaveldesk</title>"));
    EXPECT_TRUE(answers[0] == answers[1]) << answers[1];
}

TEST_F(ClickHouse, ErrorsSayWhatIsWrong) {
    const std::string place = mServer->newDatabase();
    const std::string empty = mServer->newDatabase();
    const std::string newer = mServer->newDatabase();
    const auto store = openStore(place, Access::Write);
    openStore(newer, Access::Write);
    ClickHouseHttp(clickHousePlaceOf(newer)).run("INSERT INTO index_version VALUES (99)");
    const auto open = [](const std::string& where) {
        return [where] { openStore(where, Access::Read); };
    };
    const auto ask = [&](const char* sql) {
        return [&store, sql] { readTable(*store, {sql, {}, {}}); };
    };
    const auto askServer = [&](const char* sql) {
        return [&place, sql] { ClickHouseHttp(clickHousePlaceOf(place)).read(sql, {}); };
    };
    const struct {
        std::function<void()> act;
        const char* sentence;
    } cases[] = {
            {open(empty), "there is no index yet"},
            {open(newer), "the index has version 99, this program has version 2"},
            {open(place + "no"), "CREATE DATABASE makes it"},
            {open(place + "/x"), "the form is clickhouse://HOST:PORT/DATABASE"},
            {open("clickhouse://me:secret@h:1/x"), "name and password are in CLICKHOUSE_USER"},
            {open("clickhouse://h:65536/x"), "the form is clickhouse://HOST:PORT/DATABASE"},
            {open("http://h:1/x"), "the form is clickhouse://HOST:PORT/DATABASE"},
            {open("clickhouse://127.0.0.1:1/x"), "cannot connect to 127.0.0.1 port 1"},
            {askServer("INSERT INTO batches VALUES (1)"), "readonly"},
            {askServer("DROP TABLE batches"), "readonly"},
            {ask("KILL QUERY WHERE 1"), "only a SELECT is answered"},
            {ask(" ; "), "only a SELECT is answered"},
            {ask("SELECT 1; SELECT 2"), "Syntax error"},
            {ask("SELECT throwIf(number = 90000) FROM system.numbers LIMIT 100000"), "non zero"},
    };
    for (const auto& each : cases) {
        try {
            each.act();
            ADD_FAILURE() << "no error: " << each.sentence;
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), testing::HasSubstr(each.sentence));
        }
    }
}

}  // namespace
}  // namespace kaveldesk
