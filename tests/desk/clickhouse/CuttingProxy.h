#pragma once

#include <functional>
#include <string>
#include <thread>

namespace kaveldesk::test {

/** A socket at @p port of the loopback address; 0 becomes a free one. Throws if it is not free. */
int boundSocket(int* port);

/** What becomes of one request: how many bytes of it reach the server, and of its answer the
 * client. Then both connections end. */
struct Fate {
    size_t request = std::string::npos;
    size_t answer = std::string::npos;
};

/** A proxy on the loopback address, for one request at a time. */
class CuttingProxy {
  public:
    using Decide = std::function<Fate(const std::string& request)>;

    /** @param decide  called with each request, in the proxy's own thread */
    CuttingProxy(int serverPort, Decide decide);
    ~CuttingProxy();
    CuttingProxy(const CuttingProxy&) = delete;
    CuttingProxy& operator=(const CuttingProxy&) = delete;

    int port() const { return mPort; }

  private:
    void serve(int client) const;

    const int mServerPort;
    const Decide mDecide;
    int mPort = 0;
    const int mListener;
    std::thread mThread;
};

}  // namespace kaveldesk::test
