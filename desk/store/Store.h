#pragma once

#include <memory>
#include <string>
#include <vector>

#include "desk/store/Rows.h"
#include "desk/store/Table.h"

namespace kaveldesk {

/**
 * Where the index is. One object is for one thread at a time; a store can be open several times,
 * also in several processes. All functions throw std::runtime_error with a sentence for the user.
 */
class Store {
  public:
    virtual ~Store() = default;

    /**
     * Stores a batch, all of it or nothing. A catch whose hash is in the store already is left
     * out, so that a batch can be given again after an error whose result is not known. Sources
     * replace those of the same path.
     */
    virtual void insert(const Batch& batch) = 0;

    /** For each of @p hashes, whether its catch is in the store. */
    virtual std::vector<bool> areKnown(const std::vector<std::string>& hashes) = 0;

    /** For each of @p sources, whether one with its path, size and time of change is stored. */
    virtual std::vector<bool> areUnchanged(const std::vector<SourceRow>& sources) = 0;

    /**
     * Answers @p query. It can change nothing: a statement that would write is refused. "?" in it
     * are parameters only, never part of a text or a comment.
     */
    virtual void read(const Query& query, RowSink& sink) = 0;
};

enum class Access : uint8_t { Read, Write };

/**
 * Opens the index at @p place, the path of a database file or clickhouse://HOST:PORT/DATABASE. For
 * writing, it is made if it is not there (in a ClickHouse database that is). A file of an older
 * version is brought up to date first in both cases.
 */
std::unique_ptr<Store> openStore(const std::string& place, Access access);

/** The database file if none is named: kaveldesk/index.db in $XDG_DATA_HOME or ~/.local/share. */
std::string defaultPlace();

/** The whole answer at once, for questions whose answer is small. */
Table readTable(Store& store, const Query& query);

}  // namespace kaveldesk
