#include "tests/desk/clickhouse/ClickHouseServer.h"

#include <fcntl.h>
#include <fmt/core.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <stdexcept>
#include <thread>

#include "desk/store/ClickHouseHttp.h"
#include "tests/desk/clickhouse/CuttingProxy.h"

namespace kaveldesk::test {
namespace {

constexpr const char* kConfig = R"(<yandex>
<logger><level>error</level><log>{0}/log</log><errorlog>{0}/errors</errorlog></logger>
<listen_host>127.0.0.1</listen_host><http_port>{1}</http_port>
<path>{0}/data/</path><tmp_path>{0}/tmp/</tmp_path>
<mark_cache_size>100000000</mark_cache_size>
<users_config>{0}/users.xml</users_config>
<default_profile>default</default_profile><default_database>default</default_database>
</yandex>
)";
// The readers can change no row; reader2 can change settings.
constexpr const char* kUsers = R"(<yandex><quotas><default/></quotas>
<profiles><default/><reader1><readonly>1</readonly></reader1><reader2><readonly>2</readonly></reader2></profiles>
<users>{}</users></yandex>
)";
constexpr const char* kUser = R"(<{0}><password/><networks><ip>127.0.0.1</ip></networks>
<profile>{0}</profile><quota>default</quota></{0}>
)";

/** A port that is free now, and not one that the kernel gives to other tests meanwhile (ip(7)). */
int freePort() {
    for (int port = 10'000 + getpid() % 20'000;; ++port) {
        try {
            close(boundSocket(&port));
            return port;
        } catch (const std::runtime_error&) {
            if (port >= 32'000) throw;
        }
    }
}

}  // namespace

ClickHouseServer::ClickHouseServer() : mPort(freePort()) {
    const std::string config = mDir.write("config.xml", fmt::format(kConfig, mDir / "", mPort));
    std::string users;
    for (const char* name : {"default", "reader1", "reader2"}) users += fmt::format(kUser, name);
    mDir.write("users.xml", fmt::format(kUsers, users));
    const std::string option = "--config-file=" + config;
    const std::string output = mDir / "output";
    mProcess = fork();
    if (mProcess == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);  // a test that crashes leaves no server
        const int file = open(output.c_str(), O_CREAT | O_WRONLY, 0600);
        dup2(file, STDOUT_FILENO);
        dup2(file, STDERR_FILENO);
        execl(kProgram, kProgram, option.c_str(), nullptr);
        _exit(1);
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(3);
    for (;;) {
        try {
            ClickHouseHttp({"127.0.0.1", mPort, "default"}).run("SELECT 1");
            return;
        } catch (const std::exception& error) {
            if (waitpid(mProcess, nullptr, WNOHANG) != 0 ||
                std::chrono::steady_clock::now() > end) {
                throw std::runtime_error(fmt::format("no server: {}: {}", error.what(),
                                                     android::kavel::test::contentOf(output)));
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }
}

ClickHouseServer::~ClickHouseServer() {
    kill(mProcess, SIGKILL);
    waitpid(mProcess, nullptr, 0);
}

std::string ClickHouseServer::newDatabase() {
    const std::string name = fmt::format("index{}", ++mDatabases);
    ClickHouseHttp({"127.0.0.1", mPort, "default"}).run("CREATE DATABASE " + name);
    return fmt::format("clickhouse://127.0.0.1:{}/{}", mPort, name);
}

std::string ClickHouseServer::behind(int port, const std::string& place) {
    return fmt::format("clickhouse://127.0.0.1:{}/{}", port, clickHousePlaceOf(place).database);
}

}  // namespace kaveldesk::test
