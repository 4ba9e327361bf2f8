#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <thread>

#include "desk/serve/Fd.h"
#include "desk/store/Store.h"

namespace kaveldesk {

/**
 * Indexes the archives of a folder and of those below it, then each one that comes, in a thread of
 * its own. Files are read when their writer has closed them or when they are moved there.
 */
class Watcher {
  public:
    struct Events {
        std::function<void()> indexed;                       // the index has new catches
        std::function<void(const std::string&)> complained;  // a sentence, without the last dot
    };

    /** @param store  opened for writing. @p events are called in the thread. Throws
     * std::runtime_error if @p folder is not there. */
    Watcher(std::unique_ptr<Store> store, const std::string& folder, Events events);
    /** Ends soon, with all that is read stored. */
    ~Watcher();
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

  private:
    void run();
    bool waitUntilReadable(int timeoutMs) const;
    void watch(const std::string& folder);
    void takeEvents(std::set<std::string>& paths);
    /** Returns whether all could be read and stored. */
    bool index(const std::set<std::string>& paths);

    const std::unique_ptr<Store> mStore;
    const std::string mFolder;
    const Events mEvents;
    const Fd mNotify;
    const Fd mStopEvent;
    std::map<int, std::string> mFolders;  // by their watch
    std::atomic<bool> mStop = false;
    std::thread mThread;  // last: it uses the others
};

}  // namespace kaveldesk
