#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "desk/serve/Guard.h"
#include "desk/serve/ReportMaker.h"
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
    ~Site();
    Site(Site&&) noexcept;

    /** The reply to a request, from its head. Does not throw. */
    std::string answer(const std::string& head);

  private:
    class Server;
    std::unique_ptr<Server> mServer;
};

}  // namespace kaveldesk
