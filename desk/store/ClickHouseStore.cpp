#include "desk/store/ClickHouseStore.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <map>
#include <random>
#include <set>
#include <stdexcept>

#include "desk/store/ClickHouseSchema.h"
#include "desk/store/ClickHouseText.h"
#include "desk/store/Schema.h"
#include "desk/store/TableRows.h"

namespace kaveldesk {
namespace {

/** YYYYMM; 0 if the time is not known or hardly true. */
int64_t monthOf(int64_t utc) {
    constexpr int64_t kYear2100 = 4'102'444'800'000;
    if (utc <= 0 || utc >= kYear2100) return 0;
    const time_t seconds = utc / 1000;
    tm parts{};
    gmtime_r(&seconds, &parts);
    return int64_t{parts.tm_year + 1900} * 100 + parts.tm_mon + 1;
}

int64_t randomBatch() {
    std::random_device device;
    return std::uniform_int_distribution<int64_t>(1)(device);
}

/** "?, ?" for @p values, which go to the parameters of @p query. */
template <typename T, typename ValueOf>
void addList(Query& query, const std::vector<T>& values, ValueOf valueOf) {
    for (size_t i = 0; i < values.size(); ++i) {
        query.sql += i == 0 ? "?" : ", ?";
        query.parameters.push_back(valueOf(values[i]));
    }
}

/** Rows on their way to the server, which gets those of one table a few megabytes at a time. */
class Sender {
  public:
    explicit Sender(const ClickHouseHttp& http) : mHttp(http) {}

    void add(std::string_view table, const Row& row) {
        constexpr size_t kAtOnce = 4U << 20U;
        std::string& rows = mRows[table];
        appendTabSeparated(rows, row);
        rows += '\n';
        if (rows.size() > kAtOnce) send(table, rows);
    }
    /** Sends what is left. */
    void finish() {
        for (auto& [table, rows] : mRows) {
            if (!rows.empty()) send(table, rows);
        }
    }

  private:
    void send(std::string_view table, std::string& rows) {
        mHttp.run(clickHouseInsert(mHttp.database(), table) + rows);
        rows.clear();
    }
    const ClickHouseHttp& mHttp;
    std::map<std::string_view, std::string> mRows;  // by table
};

const std::string& textIn(const Row& row, size_t column) {
    return std::get<std::string>(row.at(column));
}

}  // namespace

ClickHouseStore::ClickHouseStore(const ClickHousePlace& place, Access access) : mHttp(place) {
    const int64_t found = version();
    if (found == 0 && access == Access::Read) {
        throw std::runtime_error("there is no index yet; 'kaveldesk index' makes it");
    }
    if (found == 0) {
        for (const std::string& statement : clickHouseSchema(mHttp.database())) {
            mHttp.run(statement);
        }
        // The last one, so that an index with a version is whole.
        mHttp.run(fmt::format("INSERT INTO index_version VALUES ({})", kSchemaVersion));
    } else if (found != kSchemaVersion) {
        throw std::runtime_error(fmt::format(
                "the index has version {}, this program has version {}", found, kSchemaVersion));
    }
}

int64_t ClickHouseStore::version() {
    try {
        const Table table = readTable(*this, {"SELECT max(version) FROM index_version", {}, {}});
        return std::get<int64_t>(table.rows.at(0).at(0));
    } catch (const ClickHouseError& error) {
        if (error.code() != ClickHouseError::kUnknownTable) throw;
        return 0;
    }
}

void ClickHouseStore::insert(const Batch& batch) {
    // A query has a limited length, and rows wait in memory until they are sent.
    constexpr size_t kAtOnce = 1000;
    std::set<std::string_view> taken;
    for (size_t start = 0; start < batch.catches.size(); start += kAtOnce) {
        const size_t end = std::min(start + kAtOnce, batch.catches.size());
        std::vector<std::string> hashes;
        for (size_t i = start; i < end; ++i) hashes.push_back(batch.catches[i].hash);
        const std::vector<bool> known = areKnown(hashes);
        std::vector<const CatchRow*> catches;
        for (size_t i = start; i < end; ++i) {
            const CatchRow& row = batch.catches[i];
            if (!known[i - start] && taken.insert(row.hash).second) catches.push_back(&row);
        }
        if (catches.empty()) continue;
        const int64_t number = randomBatch();
        insertRows(catches, number);
        insertTwins(catches, number);
        mHttp.run(fmt::format("INSERT INTO batches VALUES ({})", number));
    }
    Sender sender(mHttp);
    for (const SourceRow& source : batch.sources) sender.add("sources", valuesOf(source));
    sender.finish();
}

void ClickHouseStore::insertRows(const std::vector<const CatchRow*>& catches, int64_t batch) {
    // One row of a fingerprint is enough.
    Query query{"SELECT fingerprint FROM fingerprints WHERE fingerprint IN (", {}, {}};
    addList(query, catches, [](const CatchRow* row) { return row->fingerprint; });
    query.sql += ")";
    std::set<std::string> fingerprints;
    for (const Row& row : readTable(*this, query).rows) fingerprints.insert(textIn(row, 0));

    // Newer servers refuse an INSERT with rows of more than 100 partitions.
    constexpr size_t kMostMonths = 90;
    std::set<int64_t> months;
    Sender sender(mHttp);
    for (const CatchRow* const row : catches) {
        const int64_t id = idOf(row->hash);
        const int64_t month = monthOf(row->utc);
        if (months.insert(month).second && months.size() > kMostMonths) {
            sender.finish();
            months = {month};
        }
        sender.add("hashes", {id, row->hash, month, batch});
        for (TableRows& table : tableRowsOf(*row, id)) {
            if (table.table == "fingerprints" && !fingerprints.insert(row->fingerprint).second) {
                continue;
            }
            for (Row& values : table.rows) {
                if (table.table == "daily") values.emplace_back(id);  // one row for each catch
                if (hasMonth(table.table)) values.emplace_back(month);
                values.emplace_back(batch);
                sender.add(table.table, values);
            }
        }
    }
    sender.finish();
}

void ClickHouseStore::insertTwins(const std::vector<const CatchRow*>& catches, int64_t batch) {
    std::set<std::string_view> hashes;
    for (const CatchRow* const row : catches) hashes.insert(row->hash);
    Query query{"SELECT hash, batch FROM hashes_rows WHERE id IN (", {}, {}};
    addList(query, catches, [](const CatchRow* row) { return idOf(row->hash); });
    query.sql += ") AND batch != ?";
    query.parameters.emplace_back(batch);
    std::string rows;
    for (const Row& row : readTable(*this, query).rows) {
        if (hashes.count(textIn(row, 0)) == 0) continue;
        const auto other = std::get<int64_t>(row.at(1));
        rows += fmt::format("{}\t{}\t{}\n", idOf(textIn(row, 0)), std::max(batch, other),
                            std::min(batch, other));
    }
    if (!rows.empty()) mHttp.run("INSERT INTO twins FORMAT TabSeparated\n" + rows);
}

std::vector<bool> ClickHouseStore::areKnown(const std::vector<std::string>& hashes) {
    if (hashes.empty()) return {};
    Query query{"SELECT hash FROM hashes_rows WHERE id IN (", {}, {}};
    addList(query, hashes, [](const std::string& hash) { return idOf(hash); });
    query.sql += ") AND batch IN (SELECT batch FROM batches)";
    std::set<std::string> found;
    for (const Row& row : readTable(*this, query).rows) found.insert(textIn(row, 0));
    std::vector<bool> known;
    known.reserve(hashes.size());
    for (const std::string& hash : hashes) known.push_back(found.count(hash) > 0);
    return known;
}

std::vector<bool> ClickHouseStore::areUnchanged(const std::vector<SourceRow>& sources) {
    if (sources.empty()) return {};
    Query query{"SELECT path, size, modified_ns FROM sources WHERE path IN (", {}, {}};
    addList(query, sources, [](const SourceRow& source) { return source.path; });
    query.sql += ")";
    // Older rows of a path stay for a while. What they say of its content is still true.
    std::set<Row> found;
    for (Row& row : readTable(*this, query).rows) found.insert(std::move(row));
    std::vector<bool> unchanged;
    unchanged.reserve(sources.size());
    for (const SourceRow& source : sources) {
        unchanged.push_back(found.count({source.path, source.size, source.modifiedNs}) > 0);
    }
    return unchanged;
}

void ClickHouseStore::read(const Query& query, RowSink& sink) {
    std::string sql = withLiterals(query.sql, query.parameters);
    sql.erase(sql.find_last_not_of("; \t\r\n") + 1);
    // The setting readonly refuses what would write, but not KILL QUERY.
    const char* const start = sql.c_str() + std::min(sql.find_first_not_of(" \t\r\n"), sql.size());
    if (strncasecmp(start, "SELECT", 6) != 0 && strncasecmp(start, "WITH", 4) != 0) {
        throw std::runtime_error("only a SELECT is answered");
    }
    TabSeparatedReader reader(query.columns, sink);
    mHttp.read(sql + "\nFORMAT TabSeparatedWithNamesAndTypes",
               [&](std::string_view piece) { reader.add(piece); });
    reader.end();
}

}  // namespace kaveldesk
