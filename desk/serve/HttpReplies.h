#pragma once

#include <functional>
#include <memory>
#include <string>

namespace httplib {
struct Request;
struct Response;
}  // namespace httplib

namespace kaveldesk {

/** Turns the heads of HTTP requests into whole replies, without a connection. For one thread. */
class HttpReplies {
  public:
    /** Fills in the reply to a request. */
    using Handle = std::function<void(const httplib::Request&, httplib::Response&)>;

    explicit HttpReplies(Handle handle);
    ~HttpReplies();
    HttpReplies(const HttpReplies&) = delete;
    HttpReplies& operator=(const HttpReplies&) = delete;

    /** Throws what @p handle does, and std::bad_alloc. */
    std::string answer(const std::string& head);

  private:
    class Server;
    const std::unique_ptr<Server> mServer;
};

}  // namespace kaveldesk
