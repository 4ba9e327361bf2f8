#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "desk/serve/Guard.h"
#include "desk/serve/HttpReplies.h"
#include "desk/serve/ReportMaker.h"
#include "desk/serve/Views.h"
#include "desk/store/Store.h"

namespace kaveldesk {

/** What all threads share. */
struct SiteState {
    Guard guard;
    ReportMaker reports;
    bool isWatching = false;
    /** Grows each time the index has new catches. */
    std::atomic<uint64_t> changes = 0;
};

/** The pages, for one thread. */
class Site {
  public:
    /** @param store  opened for reading */
    Site(std::unique_ptr<Store> store, SiteState& state);

    /** The reply to a request, from its head. Does not throw. */
    std::string answer(const std::string& head);

  private:
    struct Asked {
        const httplib::Request& request;
        std::string subject;  // what follows the route's path
    };
    struct Route {
        std::string_view path;  // "/NAME/" has hexadecimal digits behind it
        std::function<void(const Asked&, httplib::Response&)> send;
        bool isOpen = false;  // to everybody
    };
    std::vector<Route> routes();
    void handle(const httplib::Request& request, httplib::Response& out);
    void login(const Asked& asked, httplib::Response& out) const;
    void sendPage(View (*view)(const Visit&), const Asked& asked, httplib::Response& out);
    void sendReport(const Asked& asked, httplib::Response& out);

    const std::unique_ptr<Store> mStore;
    SiteState& mState;
    const std::vector<Route> mRoutes;
    HttpReplies mReplies;
};

}  // namespace kaveldesk
