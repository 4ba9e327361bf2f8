// Reference for the daemon's cost: a process with the same libraries and number of threads, all of
// which sleep. bench_empty_process [THREADS [SERVICE]]; SERVICE is a binder service to register.

#include <cstdlib>
#include <thread>

#include <unistd.h>

#include <android/log.h>
#include <binder/Binder.h>
#include <binder/IServiceManager.h>

using namespace android;  // NOLINT(google-build-using-namespace): the only file of the program

int main(int argc, char** argv) {
    const int threads = argc > 1 ? atoi(argv[1]) : 1;
    for (int i = 1; i < threads; ++i) std::thread([] { pause(); }).detach();
    const sp<BBinder> service = new BBinder;
    if (argc > 2) defaultServiceManager()->addService(String16(argv[2]), service);
    pause();
    return 0;
}
