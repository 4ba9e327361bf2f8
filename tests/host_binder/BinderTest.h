#pragma once

#include <android-base/unique_fd.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <gtest/gtest.h>
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "tests/host_binder/TestService.h"

namespace kavel_test {

/** A test server in a process of its own; ended with the object. */
class ServerProcess {
  public:
    explicit ServerProcess(const std::string& name, int poolSize = 4, bool join = false);
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;
    ~ServerProcess();

    int32_t order(Order order);
    pid_t pid() const { return mPid; }
    void kill();
    /** Ends its standard input and gives its wait status; -1 if it does not end by itself. */
    int finish();

  private:
    pid_t mPid = -1;
    android::base::unique_fd mOrders;
};

/** Gives each test a service directory of its own. */
class BinderTest : public testing::Test {
  protected:
    BinderTest();
    ~BinderTest() override;

    static android::sp<android::IBinder> get(const std::string& name);
    static android::sp<android::IBinder> check(const std::string& name);
    std::string socketPath(const std::string& name) const { return mDirectory + "/" + name; }

  private:
    std::string mDirectory;
};

/** Calls with the right token and then @p arguments, all int32. */
android::status_t call(const android::sp<android::IBinder>& service, uint32_t code,
                       const std::vector<int32_t>& arguments = {}, android::Parcel* reply = nullptr,
                       uint32_t flags = 0);

/** Waits for @p condition; false when it does not come true within @p limit. */
bool becomesTrue(const std::function<bool()>& condition,
                 std::chrono::seconds limit = std::chrono::seconds(20));

}  // namespace kavel_test
