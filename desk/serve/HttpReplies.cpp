#include "desk/serve/HttpReplies.h"

#include <httplib.h>

#include <string_view>

namespace kaveldesk {
namespace {

/** A request's head to read, and the reply that is written. */
class MemoryStream : public httplib::Stream {
  public:
    explicit MemoryStream(std::string_view head) : mHead(head) {}
    std::string takeReply() { return std::move(mReply); }

    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }
    ssize_t read(char* to, size_t size) override {
        const size_t count = mHead.copy(to, size);
        mHead.remove_prefix(count);
        return static_cast<ssize_t>(count);
    }
    ssize_t write(const char* from, size_t size) override {
        mReply.append(from, size);
        return static_cast<ssize_t>(size);
    }
    void get_remote_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
    void get_local_ip_and_port(std::string& /*ip*/, int& /*port*/) const override {}
    socket_t socket() const override { return 0; }

  private:
    std::string_view mHead;
    std::string mReply;
};

}  // namespace

class HttpReplies::Server : private httplib::Server {
  public:
    explicit Server(Handle handle) {
        set_default_headers({{"X-Content-Type-Options", "nosniff"},
                             {"Referrer-Policy", "no-referrer"},
                             {"Cache-Control", "no-store"},
                             {"Cross-Origin-Opener-Policy", "same-origin"},
                             {"Cross-Origin-Resource-Policy", "same-origin"}});
        set_pre_routing_handler([handle = std::move(handle)](const auto& request, auto& out) {
            handle(request, out);
            return HandlerResponse::Handled;
        });
    }

    std::string answer(const std::string& head) {
        MemoryStream stream(head);
        bool isClosed = false;
        // Parts of a page, perhaps the same one many times, are of no use, nor is a packed one.
        process_request(stream, true, isClosed, [](httplib::Request& request) {
            request.ranges.clear();
            request.headers.erase("Accept-Encoding");
        });
        return stream.takeReply();
    }
};

HttpReplies::HttpReplies(Handle handle) : mServer(std::make_unique<Server>(std::move(handle))) {}
HttpReplies::~HttpReplies() = default;

std::string HttpReplies::answer(const std::string& head) {
    return mServer->answer(head);
}

}  // namespace kaveldesk
