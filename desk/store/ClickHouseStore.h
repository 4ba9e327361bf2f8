#pragma once

#include <string>
#include <vector>

#include "desk/store/ClickHouseHttp.h"
#include "desk/store/Store.h"

namespace kaveldesk {

/**
 * The index in a ClickHouse database, for any number of readers and writers at once.
 *
 * ClickHouse has no transactions and no unique keys: a lost connection leaves some rows of an
 * INSERT, and nothing keeps two writers from storing the same catch. So each insert() has a number,
 * its batch, drawn at random, which all its rows have:
 *
 * 1. Catches whose hash counts already are left out.
 * 2. The rows go to all tables. None counts yet.
 * 3. The writer reads which other batches, whether they count or not, have rows of the same hashes.
 *    Each such pair goes to the table twins: the catch of the larger batch does not count if the
 *    smaller one counts.
 * 4. One row in the table batches makes all rows of the batch count at once.
 * 5. The sources follow.
 *
 * Each step starts after the server has confirmed the one before. Before 4, an error leaves rows
 * that never count; after an error in 4 the batch may count or not. In both cases the batch is
 * given again, with a new number: 1 leaves out its catches if they count, else 2 to 4 store them
 * once more, and even if the old 4 takes effect as late as now, 3 has seen the old rows. The same
 * holds for two writers: of two batches that both count, the one whose 3 came last saw the rows of
 * the other, and its pair was there before it counted. An error in 5 loses no catch, the file is
 * only read again. A question that runs at the same time as a 4 can see part of its effect.
 *
 * Two hashes that begin with the same 63 bits have the same id here.
 */
class ClickHouseStore : public Store {
  public:
    ClickHouseStore(const ClickHousePlace& place, Access access);

    /** Throws if the result is not known, too; then the same batch has to be given again. */
    void insert(const Batch& batch) override;
    std::vector<bool> areKnown(const std::vector<std::string>& hashes) override;
    std::vector<bool> areUnchanged(const std::vector<SourceRow>& sources) override;
    void read(const Query& query, RowSink& sink) override;

  private:
    /** Version of the index; 0 if there is none. */
    int64_t version();
    void insertRows(const std::vector<const CatchRow*>& catches, int64_t batch);
    void insertTwins(const std::vector<const CatchRow*>& catches, int64_t batch);

    const ClickHouseHttp mHttp;
};

}  // namespace kaveldesk
