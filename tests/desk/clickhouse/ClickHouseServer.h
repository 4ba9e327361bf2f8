#pragma once

#include <sys/types.h>

#include <string>

#include "tests/fake/TempDir.h"

namespace kaveldesk::test {

/** A ClickHouse server with its own folder, on the loopback address. It ends with the object. */
class ClickHouseServer {
  public:
    static constexpr const char* kProgram = "/usr/sbin/clickhouse-server";

    ClickHouseServer();
    ~ClickHouseServer();
    ClickHouseServer(const ClickHouseServer&) = delete;
    ClickHouseServer& operator=(const ClickHouseServer&) = delete;

    /** The place of a new, empty database. */
    std::string newDatabase();
    /** @p place behind @p port, which is that of a proxy. */
    static std::string behind(int port, const std::string& place);
    int port() const { return mPort; }

  private:
    const android::kavel::test::TempDir mDir;
    const int mPort;
    pid_t mProcess = -1;
    int mDatabases = 0;
};

}  // namespace kaveldesk::test
