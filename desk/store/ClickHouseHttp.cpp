#include "desk/store/ClickHouseHttp.h"

#include <fmt/core.h>
#include <httplib.h>

#include <charconv>
#include <cstdlib>
#include <exception>
#include <regex>

namespace kaveldesk {
namespace {

constexpr int kMostPort = 65'535;
constexpr int kConnectSeconds = 10;
constexpr int kAnswerSeconds = 300;  // without a byte

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/** What a user can do about an error of the server, by its code. */
constexpr struct {
    int code;
    const char* hint;
} kHints[] = {
        {81, "; CREATE DATABASE makes it"},
        {192, "; CLICKHOUSE_USER and CLICKHOUSE_PASSWORD name the user"},
        {193, "; CLICKHOUSE_USER and CLICKHOUSE_PASSWORD name the user"},
        {194, "; CLICKHOUSE_USER and CLICKHOUSE_PASSWORD name the user"},
        {516, "; CLICKHOUSE_USER and CLICKHOUSE_PASSWORD name the user"},
};

/** "Code: 60, e.displayText() = DB::Exception: SENTENCE, e.what() = ..." as versions write it. */
ClickHouseError errorOf(int status, std::string text) {
    constexpr size_t kMostBytes = 500;
    constexpr std::string_view kCode = "Code: ";
    constexpr std::string_view kException = "DB::Exception: ";
    int code = 0;
    if (text.rfind(kCode, 0) == 0) {
        std::from_chars(text.data() + kCode.size(), text.data() + text.size(), code);
    }
    const size_t start = text.find(kException);
    if (code == 0 || start == std::string::npos) {
        return {0, fmt::format("the answer is not ClickHouse's (HTTP status {})", status)};
    }
    text.erase(0, start + kException.size());
    for (const char* end : {"\n", ", e.what()", " (version ", ". Expected one of"})
        text.resize(std::min(text.find(end), text.size()));
    text.resize(std::min(text.size(), kMostBytes));
    while (!text.empty() && text.back() == '.') text.pop_back();
    for (const auto& row : kHints) {
        if (row.code == code) text += row.hint;
    }
    return {code, text};
}

}  // namespace

bool isClickHousePlace(const std::string& text) {
    return text.find("://") != std::string::npos;
}

ClickHousePlace clickHousePlaceOf(const std::string& text) {
    static const std::regex kForm(R"(clickhouse://(\[[0-9A-Fa-f:.]+\]|[\w.-]+):(\d{1,5})/(\w+))");
    std::smatch match;
    if (!std::regex_match(text, match, kForm) || std::stoi(match[2]) > kMostPort) {
        throw std::runtime_error(
                "the form is clickhouse://HOST:PORT/DATABASE; name and password are in "
                "CLICKHOUSE_USER and CLICKHOUSE_PASSWORD");
    }
    std::string host = match[1];
    if (host.front() == '[') host = host.substr(1, host.size() - 2);
    return {host, std::stoi(match[2]), match[3]};
}

ClickHouseHttp::ClickHouseHttp(ClickHousePlace place) : mPlace(std::move(place)) {
    std::string readonly;
    send("", "SELECT value FROM system.settings WHERE name = 'readonly'",
         [&](std::string_view piece) { readonly += piece; });
    // An account that can only read may not change this setting; if it is 1, no other one either.
    if (readonly == "0\n") mReadSettings += "&readonly=1";
    // A condition on a view is one on its table: the default only of newer versions.
    if (readonly != "1\n") mReadSettings += "&enable_optimize_predicate_expression=1";
}

void ClickHouseHttp::run(const std::string& sql) const {
    // With its end awaited, a statement that fails late has the status of an error, too.
    send("&wait_end_of_query=1", sql, [](std::string_view) {});
}

void ClickHouseHttp::read(const std::string& sql,
                          const std::function<void(std::string_view)>& take) const {
    send("&wait_end_of_query=1" + mReadSettings, sql, take);
}

void ClickHouseHttp::send(const std::string& options, const std::string& body,
                          const std::function<void(std::string_view)>& take) const {
    constexpr int kOk = 200;
    constexpr size_t kMostErrorBytes = 10'000;
    httplib::Client client(mPlace.host, mPlace.port);
    client.set_connection_timeout(kConnectSeconds);
    client.set_read_timeout(kAnswerSeconds);
    client.set_write_timeout(kAnswerSeconds);
    client.set_tcp_nodelay(true);  // else head and body of a request wait for one another

    httplib::Request request;
    request.method = "POST";
    request.path = "/?database=" + mPlace.database + options;
    request.body = body;
    if (const std::string user = environment("CLICKHOUSE_USER"); !user.empty()) {
        request.set_header("X-ClickHouse-User", user);
        request.set_header("X-ClickHouse-Key", environment("CLICKHOUSE_PASSWORD"));
    }
    int status = 0;
    std::string error;
    std::exception_ptr thrown;
    request.response_handler = [&](const httplib::Response& response) {
        status = response.status;
        // Without a length, an answer that is cut looks like a whole one.
        return response.has_header("Content-Length") || response.has_header("Transfer-Encoding");
    };
    request.content_receiver = [&](const char* data, size_t size, uint64_t, uint64_t) {
        if (status != kOk) {
            error.append(data, std::min(size, kMostErrorBytes - error.size()));
            return error.size() < kMostErrorBytes;
        }
        try {
            take({data, size});
        } catch (...) {  // not through the library
            thrown = std::current_exception();
        }
        return thrown == nullptr;
    };
    const httplib::Result result = client.send(request);
    if (thrown) std::rethrow_exception(thrown);
    if (status != 0 && status != kOk) throw errorOf(status, error);
    if (result.error() == httplib::Error::Connection ||
        result.error() == httplib::Error::ConnectionTimeout) {
        throw std::runtime_error(
                fmt::format("cannot connect to {} port {}", mPlace.host, mPlace.port));
    }
    if (!result) {
        throw std::runtime_error(fmt::format("no whole answer from {} port {}: {}", mPlace.host,
                                             mPlace.port, httplib::to_string(result.error())));
    }
}

}  // namespace kaveldesk
