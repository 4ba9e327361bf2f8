#pragma once

#include <android-base/unique_fd.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <gtest/gtest.h>
#include <sys/types.h>

#include <string>
#include <vector>

#include "tests/fake/Eventually.h"
#include "tests/fake/TempDir.h"
#include "tests/host_binder/TestService.h"

namespace kavel_test {

/** A test server in a process of its own; ended with the object. */
class ServerProcess {
  public:
    explicit ServerProcess(const std::string& name, int poolSize = 4);
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;
    ~ServerProcess() { kill(); }

    /** The server's object, once it is there. */
    const android::sp<android::IBinder>& service() const { return mService; }
    int32_t order(Order order);
    pid_t pid() const { return mPid; }
    void kill();

  private:
    pid_t mPid = -1;
    android::base::unique_fd mOrders;
    android::sp<android::IBinder> mService;
};

/** Gives each test a service directory of its own. */
class BinderTest : public testing::Test {
  protected:
    BinderTest();

    static android::sp<android::IBinder> check(const std::string& name);
    std::string socketPath(const std::string& name) const { return mDirectory / name; }

  private:
    const android::kavel::test::TempDir mDirectory;
};

/** Calls with the right token and then @p arguments, all int32. */
android::status_t call(const android::sp<android::IBinder>& service, uint32_t code,
                       const std::vector<int32_t>& arguments = {}, android::Parcel* reply = nullptr,
                       uint32_t flags = 0);

}  // namespace kavel_test
