#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kaveldesk {

/** Where a database is: clickhouse://HOST:PORT/DATABASE. */
struct ClickHousePlace {
    std::string host;
    int port = 0;
    std::string database;  // letters, digits and underscores
};

/** Whether @p text is an address, and no file. */
bool isClickHousePlace(const std::string& text);

/** Throws std::runtime_error if @p text has another form. */
ClickHousePlace clickHousePlaceOf(const std::string& text);

/** An answer of the server that is an error; what() is one sentence. */
class ClickHouseError : public std::runtime_error {
  public:
    static constexpr int kUnknownTable = 60;

    ClickHouseError(int code, const std::string& sentence)
          : std::runtime_error(sentence), mCode(code) {}
    int code() const { return mCode; }

  private:
    int mCode;  // the server's; 0 if the answer has none
};

/**
 * Sends statements over HTTP, each on its own connection: a kept one can end just when the next
 * statement is sent, and then nobody knows whether it ran. Name and password of the user are the
 * environment variables CLICKHOUSE_USER and CLICKHOUSE_PASSWORD, so that no list of processes shows
 * them. All functions throw std::runtime_error with a sentence; the result of a run() that failed
 * is not known.
 */
class ClickHouseHttp {
  public:
    /** Asks the server what its account may do. */
    explicit ClickHouseHttp(ClickHousePlace place);

    const std::string& database() const { return mPlace.database; }
    /** Runs a statement that has no answer; an INSERT with its rows. */
    void run(const std::string& sql) const;
    /** Gives the whole answer to @p sql in pieces, or throws; @p sql can change nothing. */
    void read(const std::string& sql, const std::function<void(std::string_view)>& take) const;

  private:
    void send(const std::string& options, const std::string& body,
              const std::function<void(std::string_view)>& take) const;

    ClickHousePlace mPlace;
    std::string mReadSettings;
};

}  // namespace kaveldesk
