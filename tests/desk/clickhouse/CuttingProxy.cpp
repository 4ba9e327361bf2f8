#include "tests/desk/clickhouse/CuttingProxy.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace kaveldesk::test {
namespace {

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<uint16_t>(port));
    return address;
}

/** Reads until @p isWhole or the end of the connection. */
template <typename IsWhole>
std::string receive(int handle, IsWhole isWhole) {
    std::string bytes;
    char buffer[65'536];
    while (!isWhole(bytes)) {
        const ssize_t size = recv(handle, buffer, sizeof buffer, 0);
        if (size <= 0) break;
        bytes.append(buffer, static_cast<size_t>(size));
    }
    return bytes;
}

void sendAll(int handle, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t size = send(handle, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (size <= 0) return;
        bytes.remove_prefix(static_cast<size_t>(size));
    }
}

bool isWholeRequest(const std::string& bytes) {
    constexpr std::string_view kLength = "Content-Length: ";
    const size_t head = bytes.find("\r\n\r\n");
    if (head == std::string::npos) return false;
    const size_t length = bytes.find(kLength);
    return length < head &&
           bytes.size() >= head + 4 + std::stoul(bytes.substr(length + kLength.size()));
}

}  // namespace

int boundSocket(int* port) {
    const int handle = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = loopback(*port);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(handle, generic, size) != 0 || getsockname(handle, generic, &size) != 0) {
        close(handle);
        throw std::runtime_error("the port is not free");
    }
    *port = ntohs(address.sin_port);
    return handle;
}

CuttingProxy::CuttingProxy(int serverPort, Decide decide)
      : mServerPort(serverPort), mDecide(std::move(decide)), mListener(boundSocket(&mPort)) {
    listen(mListener, 16);
    mThread = std::thread([this] {
        for (int client = -1; (client = accept(mListener, nullptr, nullptr)) >= 0; close(client)) {
            serve(client);
        }
    });
}

CuttingProxy::~CuttingProxy() {
    shutdown(mListener, SHUT_RDWR);  // ends accept()
    mThread.join();
    close(mListener);
}

void CuttingProxy::serve(int client) const {
    const std::string request = receive(client, isWholeRequest);
    const Fate fate = mDecide(request);
    const int server = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(mServerPort);
    if (connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        sendAll(server, std::string_view(request).substr(0, fate.request));
        if (fate.request >= request.size()) {
            const auto never = [](const std::string&) { return false; };
            sendAll(client, std::string_view(receive(server, never)).substr(0, fate.answer));
        }
    }
    close(server);
}

}  // namespace kaveldesk::test
