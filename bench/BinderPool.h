#pragma once

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <sys/types.h>

#include <binder/IServiceManager.h>

#include "event/IKavelBinder.h"

namespace android::kavel::bench {

inline bool hasThread(pid_t pid, const std::string& name) {
    namespace fs = std::filesystem;
    for (const auto& task : fs::directory_iterator("/proc/" + std::to_string(pid) + "/task")) {
        std::string found;
        if (std::getline(std::ifstream(task.path() / "comm"), found) && found == name) return true;
    }
    return false;
}

/** Configures an event type that nobody uses. Returns when the daemon has done it. */
inline void configureAndWait(IBinder& service) {
    Parcel data;
    Parcel reply;
    data.writeInterfaceToken(IKavelBinder::descriptor);
    data.writeInt64(0xBE);
    data.writeString16(String16("bench"));
    data.writeBool(false);
    for (int number = 0; number < 4; ++number) data.writeInt64(0);
    service.transact(IKavelBinder::UPDATE_EVENT_PARAMS, data, &reply, 0);
}

/**
 * Calls the daemon from many threads at once until binder has started all the threads that it may,
 * 16. They never end, so from then on their number says nothing about the daemon. Ends the program
 * if that does not happen.
 */
inline void fillBinderPool(pid_t daemon) {
    const std::string last = "Binder:" + std::to_string(daemon) + "_10";  // hexadecimal
    const sp<IBinder> service =
            defaultServiceManager()->checkService(String16(KAVEL_BINDER_SERVICE_NAME));
    std::atomic<bool> isFull{service == nullptr};
    std::vector<std::thread> callers(32);
    for (std::thread& caller : callers) {
        caller = std::thread([&] {
            while (!isFull) configureAndWait(*service);
        });
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (!isFull) isFull = hasThread(daemon, last) || std::chrono::steady_clock::now() > end;
    for (std::thread& caller : callers) caller.join();
    if (hasThread(daemon, last)) return;
    fprintf(stderr, "no thread %s\n", last.c_str());
    exit(1);
}

}  // namespace android::kavel::bench
